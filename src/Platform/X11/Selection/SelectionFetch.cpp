#include "Platform/X11/Selection/SelectionFetch.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "Platform/Clipboard/SecretMemory.h"

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

SelectionFetch::SelectionFetch(X11Connection& connection, const TransferLimits& limits,
                               xcb_window_t owner, xcb_timestamp_t time, SteadyTime now,
                               std::uint64_t copyNumber, std::shared_ptr<ByteShare> share)
    : connection_(connection),
      limits_(limits),
      owner_(owner),
      time_(time),
      deadline_(now + limits.totalTimeout),
      copyNumber_(copyNumber),
      share_(std::move(share)),
      window_(connection.createWindow(XCB_EVENT_MASK_PROPERTY_CHANGE)),
      now_(now) {
  request(connection.atom("TARGETS"), maxTargetBytes);
}

template <typename Step>
void SelectionFetch::advance(SteadyTime now, Step step) {
  now_ = now;
  try {
    if (isPending()) step();
    proceed();
  } catch (const std::bad_alloc&) {
    fail("there is not enough memory for it");
  }
}

void SelectionFetch::handle(const xcb_selection_notify_event_t& event, SteadyTime now) {
  advance(now, [&] { transfer_->handle(event, now); });
}

void SelectionFetch::handle(const xcb_property_notify_event_t& event, SteadyTime now) {
  advance(now, [&] { transfer_->handle(event, now); });
}

void SelectionFetch::expire(SteadyTime now) {
  advance(now, [&] { transfer_->expire(now); });
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
  state_ = isSecret_ ? State::secret : State::failed;
  failure_ = reason;
}

FetchedContent SelectionFetch::takeContent() {
  auto content = content_ ? content_->take() : FetchedContent{};
  content.isWhole = state_ == State::complete;
  content.copyNumber = copyNumber_;
  content.share = share_;
  content.sources = std::move(sources_);
  return content;
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
      if (isSecret_) {
        state_ = State::secret;
        return;
      }
      return content_ ? receive() : readTargets();
  }
}

void SelectionFetch::readTargets() {
  const auto kind = transfer_->kind();
  const bool isList = transfer_->state() == IncomingTransfer::State::done && kind.format == 32;
  const auto plan = isList
                        ? planForTargets(connection_.atomNames(atomsOf(transfer_->takeContent())))
                        : planWithoutTargets();
  if (plan.isSecret) return requestSecret(plan);
  content_.emplace(plan);
  requestNext();
}

void SelectionFetch::requestSecret(const TargetPlan& plan) {
  if (plan.texts.empty() || isSuperseded()) {
    state_ = State::secret;
    return;
  }
  TransferBuffer buffer(SecretMemory::maxBytes, share_);
  buffer.makeSecret();
  transfer_.emplace(connection_, window_, connection_.atom(plan.texts.front()), time_,
                    std::move(buffer), limits_, now_);
  isSecret_ = true;
}

void SelectionFetch::receive() {
  const bool isAnswered = transfer_->state() == IncomingTransfer::State::done;
  const auto kind = transfer_->kind();
  if (isAnswered && kind.format == 8) {
    const bool saysUtf8 = kind.type == connection_.atom("UTF8_STRING");
    const bool isUtf8 = transfer_->isUtf8();
    content_->accept(transfer_->takeContent(), isUtf8, saysUtf8);
  } else {
    content_->refuse();
  }
  requestNext();
}

void SelectionFetch::requestNext() {
  const auto* const target = content_->wanted();
  if (!target) {
    state_ = State::complete;
  } else if (isSuperseded()) {
    overtake();
  } else {
    request(connection_.atom(*target),
            limits_.maxBytes - std::min(limits_.maxBytes, content_->size()));
  }
}

void SelectionFetch::request(xcb_atom_t target, std::size_t room) {
  transfer_.emplace(connection_, window_, target, time_, TransferBuffer(room, share_), limits_,
                    now_);
}

}  // namespace stowboard
