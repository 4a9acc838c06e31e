#include "Platform/Wayland/Selection/OutgoingPipes.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <utility>

namespace stowboard {

namespace {

// In one go, so that a fast reader does not hold off the others.
constexpr std::size_t pieceSize = std::size_t{1} << 20;

}  // namespace

OutgoingPipes::OutgoingPipes(std::chrono::milliseconds patience,
                             std::function<void(int descriptor)> watch, Background background)
    : patience_(patience), watch_(std::move(watch)), background_(std::move(background)) {}

void OutgoingPipes::send(const std::shared_ptr<ClipboardOffer>& offer, const std::string& type,
                         FileDescriptor pipe) {
  if (!offer->offers(type) || offer->isAtHand(type)) return begin(*offer, type, std::move(pipe));
  const auto held = std::make_shared<FileDescriptor>(std::move(pipe));
  offer->prepare(type, background_,
                 [this, offer, type, held] { begin(*offer, type, std::move(*held)); });
}

void OutgoingPipes::begin(const ClipboardOffer& offer, const std::string& type,
                          FileDescriptor pipe) {
  const auto conversion = offer.conversion(type);
  if (!conversion) return;
  // The ends of a pipe are open files of their own: the requester's stays as it is.
  ::fcntl(pipe.number(), F_SETFL, ::fcntl(pipe.number(), F_GETFL) | O_NONBLOCK);
  const int descriptor = pipe.number();
  transfers_.push_back(
      {std::move(pipe), conversion->content, SteadyTime::clock::now() + patience_});
  if (!write(transfers_.back())) {
    transfers_.pop_back();
  } else {
    watch_(descriptor);
  }
}

bool OutgoingPipes::handle(int descriptor) {
  const auto found = std::ranges::find(transfers_, descriptor,
                                       [](const auto& transfer) { return transfer.pipe.number(); });
  if (found == transfers_.end()) return false;
  if (!write(*found)) transfers_.erase(found);
  return true;
}

bool OutgoingPipes::write(Transfer& transfer) const {
  const auto rest = transfer.content.view().substr(transfer.sent);
  if (rest.empty()) return false;
  const auto count = ::write(transfer.pipe.number(), rest.data(), std::min(rest.size(), pieceSize));
  if (count < 0) return errno == EAGAIN || errno == EINTR;
  transfer.sent += static_cast<std::size_t>(count);
  transfer.deadline = SteadyTime::clock::now() + patience_;
  return transfer.sent < transfer.content.size();
}

std::optional<SteadyTime> OutgoingPipes::deadline() const {
  const auto first = std::ranges::min_element(transfers_, {}, &Transfer::deadline);
  return first == transfers_.end() ? std::nullopt : std::optional(first->deadline);
}

void OutgoingPipes::expire() {
  const auto now = SteadyTime::clock::now();
  std::erase_if(transfers_, [&](const auto& transfer) { return transfer.deadline <= now; });
}

}  // namespace stowboard
