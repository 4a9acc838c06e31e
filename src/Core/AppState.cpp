#include "Core/AppState.h"

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <utility>

#include "Base/Unicode/SearchQuery.h"

namespace stowboard {

namespace {

AppState::Clips newest(const AppState::Clips& clips, std::int64_t count) {
  const auto kept = std::min<std::int64_t>(std::ssize(clips), count);
  return {clips.begin(), clips.begin() + kept};
}

auto contains(const SearchQuery& query) {
  return [&query](const ClipItem& clip) {
    return clip.textContent() && clip.textContent()->contains(query);
  };
}

}  // namespace

AppState::AppState(Clips clips, AppSettings settings)
    : clips_(newest(clips, settings.maxRecords)), settings_(std::move(settings)) {}

bool AppState::append(const ClipItem& item) {
  if (shouldSkip(item, clips().empty() ? nullptr : &clips().front())) return false;
  Clips extended;
  extended.reserve(clips().size() + 1);
  extended.push_back(item);
  extended.insert(extended.end(), clips().begin(), clips().end());
  clips_.assign(std::move(extended));
  truncateIfNeeded();
  return true;
}

bool AppState::shouldSkip(const ClipItem& newItem, const ClipItem* last) {
  return last != nullptr && newItem.hasSameContent(*last);
}

AppState::Clips AppState::filteredClips(std::string_view query) const {
  const SearchQuery search(query);
  if (search.empty()) return clips();
  Clips found;
  std::ranges::copy_if(clips(), std::back_inserter(found), contains(search));
  return found;
}

bool AppState::hasFilteredClips(std::string_view query) const {
  const SearchQuery search(query);
  return search.empty() ? !clips().empty() : std::ranges::any_of(clips(), contains(search));
}

void AppState::remove(const Uuid& id) {
  Clips rest = clips();
  if (std::erase_if(rest, [&](const ClipItem& clip) { return clip.id() == id; }) == 0) return;
  clips_.assign(std::move(rest));
}

void AppState::clearAll() { clips_.assign({}); }

void AppState::updateSettings(AppSettings settings) {
  settings_.assign(std::move(settings));
  truncateIfNeeded();
}

void AppState::truncateIfNeeded() {
  if (settings().maxRecords < std::ssize(clips())) {
    clips_.assign(newest(clips(), settings().maxRecords));
  }
}

}  // namespace stowboard
