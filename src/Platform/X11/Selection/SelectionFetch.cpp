#include "Platform/X11/Selection/SelectionFetch.h"

#include <algorithm>
#include <cstring>

#include "Platform/ImageSignature.h"

namespace stowboard {

namespace {

// No real owner comes near; it bounds the work that a broken one can make.
constexpr std::size_t maxTargets = 1024;
constexpr std::size_t maxTargetBytes = 64 * 1024;

std::vector<xcb_atom_t> atomsOf(const std::string& bytes) {
  std::vector<xcb_atom_t> atoms(std::min(bytes.size() / sizeof(xcb_atom_t), maxTargets));
  std::memcpy(atoms.data(), bytes.data(), atoms.size() * sizeof(xcb_atom_t));
  return atoms;
}

}  // namespace

SelectionFetch::SelectionFetch(X11Connection& connection, const SelectionLimits& limits,
                               xcb_window_t owner, xcb_timestamp_t time, SteadyTime now,
                               std::uint64_t copyNumber)
    : connection_(connection),
      limits_(limits),
      owner_(owner),
      time_(time),
      deadline_(now + limits.totalTimeout),
      window_(connection.createWindow(XCB_EVENT_MASK_PROPERTY_CHANGE)),
      now_(now) {
  content_.copyNumber = copyNumber;
  request(connection.atom("TARGETS"));
}

void SelectionFetch::handle(const xcb_selection_notify_event_t& event, SteadyTime now) {
  now_ = now;
  if (isPending()) transfer_->handle(event, now);
  proceed();
}

void SelectionFetch::handle(const xcb_property_notify_event_t& event, SteadyTime now) {
  now_ = now;
  if (isPending()) transfer_->handle(event, now);
  proceed();
}

void SelectionFetch::expire(SteadyTime now) {
  now_ = now;
  if (isPending()) transfer_->expire(now);
  proceed();
  if (now >= deadline_) fail("its owner took too long in all");
}

void SelectionFetch::supersede(std::uint32_t sequence, xcb_window_t newOwner) {
  if (!isPending() || isSuperseded()) return;
  successor_ = newOwner;
  const bool reachedNewOwner = static_cast<std::int32_t>(transfer_->sequence() - sequence) > 0;
  if (reachedNewOwner) overtake();
}

void SelectionFetch::fail(std::string_view reason) {
  if (!isPending()) return;
  state_ = State::failed;
  failure_ = reason;
}

FetchedContent SelectionFetch::takeContent() {
  if (!content_.text && brokenText_) content_.text = {*std::move(brokenText_), TextEncoding::utf8};
  content_.isWhole = state_ == State::complete;
  return std::move(content_);
}

void SelectionFetch::proceed() {
  while (isPending() && !transfer_->isPending()) endTransfer();
}

void SelectionFetch::endTransfer() {
  switch (transfer_->state()) {
    case IncomingTransfer::State::timedOut:
      // An owner that hangs would only hang on the next target too.
      return fail("its owner stopped answering");
    case IncomingTransfer::State::tooLarge:
      return fail("it exceeds the size that is accepted");
    default:
      return step_ == Step::targets ? readTargets() : receive();
  }
}

void SelectionFetch::readTargets() {
  const auto kind = transfer_->kind();
  const bool isList = transfer_->state() == IncomingTransfer::State::done && kind.format == 32;
  if (isList) {
    plan_ = planForTargets(connection_.atomNames(atomsOf(transfer_->takeContent())));
    content_.types = plan_.types;
  } else {
    plan_ = planWithoutTargets();
  }
  if (plan_.isSecret) {
    state_ = State::secret;
    return;
  }
  step_ = Step::text;
  requestNext();
}

void SelectionFetch::receive() {
  const bool isAnswered = transfer_->state() == IncomingTransfer::State::done;
  if (isAnswered && transfer_->kind().format == 8 && accept()) {
    step_ = static_cast<Step>(static_cast<int>(step_) + 1);
    candidate_ = 0;
  } else {
    candidate_ += 1;
  }
  requestNext();
}

bool SelectionFetch::accept() {
  if (step_ == Step::text) return acceptText();
  if (step_ == Step::image) return acceptImage();
  content_.richText = transfer_->takeContent();
  content_.richTextTarget = candidates()[candidate_];
  received_ += content_.richText->size();
  return true;
}

bool SelectionFetch::acceptText() {
  const auto encoding = encodingOfAnswer();
  const bool isUsable = encoding != TextEncoding::utf8 || transfer_->isUtf8();
  auto bytes = transfer_->takeContent();
  received_ += bytes.size();
  if (isUsable) {
    content_.text = {std::move(bytes), encoding};
  } else if (!brokenText_) {
    brokenText_ = std::move(bytes);
  }
  return isUsable;
}

TextEncoding SelectionFetch::encodingOfAnswer() const {
  // Some owners answer STRING with UTF-8, and say so in the type.
  const bool saysUtf8 = transfer_->kind().type == connection_.atom("UTF8_STRING");
  if (saysUtf8 && transfer_->isUtf8()) return TextEncoding::utf8;
  return encodingOfTarget(candidates()[candidate_]);
}

bool SelectionFetch::acceptImage() {
  auto bytes = transfer_->takeContent();
  if (imageTypeOf(bytes).empty()) return false;
  content_.image = std::move(bytes);
  content_.imageTarget = candidates()[candidate_];
  content_.isTiff = isTiffTarget(content_.imageTarget);
  return true;
}

const std::vector<std::string>& SelectionFetch::candidates() const {
  if (step_ == Step::text) return plan_.texts;
  return step_ == Step::richText ? plan_.richTexts : plan_.images;
}

void SelectionFetch::requestNext() {
  while (step_ != Step::end && candidate_ == candidates().size()) {
    step_ = static_cast<Step>(static_cast<int>(step_) + 1);
    candidate_ = 0;
  }
  if (step_ == Step::end) {
    state_ = State::complete;
  } else if (isSuperseded()) {
    overtake();
  } else {
    request(connection_.atom(candidates()[candidate_]));
  }
}

void SelectionFetch::request(xcb_atom_t target) {
  const auto room = step_ == Step::targets
                        ? maxTargetBytes
                        : limits_.maxBytes - std::min(limits_.maxBytes, received_);
  transfer_.emplace(connection_, window_, target, time_, room, limits_, now_);
}

}  // namespace stowboard
