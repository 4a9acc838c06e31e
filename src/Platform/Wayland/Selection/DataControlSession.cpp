#include "Platform/Wayland/Selection/DataControlSession.h"

#include <sys/epoll.h>

#include <algorithm>
#include <array>
#include <utility>

#include "Base/Log.h"
#include "Base/Uuid.h"

namespace stowboard {

std::unique_ptr<DataControlSession> DataControlSession::create(
    ImageCodec& codec, const ApplicationIdentifying& applications,
    const DataControlOptions& options, ClipboardBackgrounds backgrounds,
    SnapshotReceiver receiver) {
  auto connection = WaylandConnection::open(options.display);
  if (!connection || !connection->seat() || !DataControl::isOffered(*connection)) return nullptr;
  return std::unique_ptr<DataControlSession>(
      new DataControlSession(std::move(connection), codec, applications, options,
                             std::move(backgrounds), std::move(receiver)));
}

DataControlSession::DataControlSession(std::unique_ptr<WaylandConnection> connection,
                                       ImageCodec& codec,
                                       const ApplicationIdentifying& applications,
                                       const DataControlOptions& options,
                                       ClipboardBackgrounds backgrounds, SnapshotReceiver receiver)
    : connection_(std::move(connection)),
      events_(epoll_create1(EPOLL_CLOEXEC)),
      options_(options),
      mark_("application/x-stowboard-" + Uuid::random().toString()),
      delivery_(codec, options.thumbnailDimension, std::move(backgrounds.preparation),
                std::move(receiver)),
      fetches_(
          options.limits.maxTotalBytes,
          {[this](FetchedContent content) { delivery_.deliver(std::move(content), writeNumber_); },
           [this](std::string_view text, std::uint64_t copyNumber) {
             delivery_.rememberSecret(text, copyNumber);
           },
           [](const DataFetch&) {}}),
      outgoing_(
          options.requesterTimeout, [this](int descriptor) { watch(descriptor, EPOLLOUT); },
          std::move(backgrounds.encoding)),
      toplevels_(Toplevels::create(*connection_, applications)),
      control_(*connection_, [this](const auto& offer) { select(offer); }) {
  watch(connection_->fileDescriptor(), EPOLLIN);
  connection_->roundTrip();
  isWatching_ = true;
}

void DataControlSession::watch(int descriptor, std::uint32_t events) const {
  epoll_event event{};
  event.events = events;
  event.data.fd = descriptor;
  epoll_ctl(events_.number(), EPOLL_CTL_ADD, descriptor, &event);
}

// A few at a time, so that no flood holds off the deadlines.
bool DataControlSession::handleEvents() {
  std::array<epoll_event, 16> ready{};
  const int count = epoll_wait(events_.number(), ready.data(), ready.size(), 0);
  bool didHandle = false;
  for (int index = 0; index < count; ++index) {
    didHandle |= handle(ready[static_cast<std::size_t>(index)].data.fd);
  }
  fetches_.settle();
  return didHandle;
}

bool DataControlSession::handle(int descriptor) {
  if (descriptor == connection_->fileDescriptor()) return connection_->dispatch();
  const auto fetch = std::ranges::find(fetches_.all(), descriptor, &DataFetch::descriptor);
  if (fetch == fetches_.all().end()) return outgoing_.handle(descriptor);
  (*fetch)->read();
  return true;
}

void DataControlSession::select(const std::shared_ptr<const DataOffer>& offer) {
  if (!isWatching_) return;
  if (!offer) return loseSelection();
  settlingEnd_.reset();
  isTakeoverDue_ = false;
  if (isOurs(*offer)) return;
  isOvertaken_ = true;
  kept_.reset();
  for (const auto& fetch : fetches_.all()) fetch->supersede();
  copyCount_ += 1;
  offer_ = offer;
  isSecretOnX11_ = options_.isSecretOnX11 && options_.isSecretOnX11();
  if (toplevels_) sources_ = toplevels_->sources();
  beginFetch();
}

void DataControlSession::beginFetch() {
  auto fetch = std::make_unique<DataFetch>(
      offer_, options_.limits, copyCount_, fetches_.makeShare(),
      DataFetch::Surroundings{[this](int descriptor) { watch(descriptor, EPOLLIN); },
                              [this](auto done) { connection_->sync(std::move(done)); },
                              isSecretOnX11_});
  fetch->setSources(sources_);
  fetches_.add(std::move(fetch));
  fetches_.settle();
}

bool DataControlSession::isOurs(const DataOffer& offer) const {
  return std::ranges::count(offer.types(), mark_) > 0;
}

void DataControlSession::beginWrite(std::uint64_t number) {
  begunWrite_ = number;
  early_.reset();
  // What is announced until the answer was copied before.
  connection_->sync([this, number] { takeWrite(number); });
}

void DataControlSession::takeWrite(std::uint64_t number) {
  writeNumber_ = number;
  isOvertaken_ = false;
  offer_.reset();
  kept_.reset();
  delivery_.forgetSecret();
  fetches_.abandon();
  if (number == begunWrite_ && early_) offerClipboard(std::exchange(early_, nullptr));
}

void DataControlSession::provide(std::uint64_t number, std::shared_ptr<ClipboardOffer> offer) {
  if (number != begunWrite_) return;
  if (number != writeNumber_) {
    early_ = std::move(offer);
  } else if (!isOvertaken_) {
    offerClipboard(offer);
  }
}

void DataControlSession::offerClipboard(const std::shared_ptr<ClipboardOffer>& offer) {
  source_ = makeSource(offer);
  control_.setSelection(*source_);
}

void DataControlSession::offerPrimary(const std::shared_ptr<ClipboardOffer>& offer) {
  primary_ = makeSource(offer);
  control_.setPrimarySelection(*primary_);
}

std::unique_ptr<DataControl::Source> DataControlSession::makeSource(
    const std::shared_ptr<ClipboardOffer>& offer) {
  auto types = offer->targets();
  types.push_back(mark_);
  return control_.makeSource(types, [this, offer](const char* type, FileDescriptor pipe) {
    outgoing_.send(offer, type, std::move(pipe));
  });
}

void DataControlSession::whenPublished(std::function<void()> done) {
  // The second answer comes after what the first one may have brought about.
  connection_->sync([this, done = std::move(done)] { connection_->sync(done); });
}

// A program's end and its emptying the clipboard on purpose look alike here.
void DataControlSession::loseSelection() {
  offer_.reset();
  if (!fetches_.all().empty()) fetches_.all().back()->loseOwner();
  settlingEnd_ = SteadyTime::clock::now() + options_.settling;
}

void DataControlSession::keep(std::shared_ptr<const ClipboardSnapshot> copy) {
  if (!copy->isWhole || copy->copyNumber != copyCount_) return;
  kept_ = std::move(copy);
  takeOverWhenReady();
}

void DataControlSession::takeOverWhenReady() {
  if (!isTakeoverDue_ || !kept_) return;
  isTakeoverDue_ = false;
  Log::clipboard.info("Keeping the clipboard of a program that has ended");
  offerClipboard(std::make_shared<ClipboardOffer>(std::exchange(kept_, nullptr)));
}

void DataControlSession::reread(std::uint64_t copyNumber) {
  if (copyNumber == copyCount_ && offer_) {
    beginFetch();
  } else {
    fetches_.deliverOutOfReach(copyNumber);
  }
}

std::optional<SteadyTime> DataControlSession::deadline() const {
  std::optional<SteadyTime> earliest;
  for (const auto& each : {fetches_.deadline(), outgoing_.deadline(), settlingEnd_}) {
    if (each && (!earliest || *each < *earliest)) earliest = each;
  }
  return earliest;
}

void DataControlSession::expire() {
  fetches_.expire();
  outgoing_.expire();
  if (!settlingEnd_ || *settlingEnd_ > SteadyTime::clock::now()) return;
  settlingEnd_.reset();
  isTakeoverDue_ = true;
  takeOverWhenReady();
}

void DataControlSession::handOver() {
  isWatching_ = false;
  fetches_.abandon();
}

}  // namespace stowboard
