#include "Platform/Wayland/Keys/SwayHotKeys.h"

#include <fmt/format.h>
#include <glob.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <utility>

#include "Base/Log.h"
#include "Platform/KeyPositions.h"

namespace stowboard {

namespace {

// What a binding of ours runs: nothing, under a name by which it is known.
constexpr std::string_view ourCommand = "nop stowboard ";

struct SwayModifier {
  std::uint32_t mask;
  std::string_view name;
};
constexpr std::array modifiers = std::to_array<SwayModifier>({{ModifierMask::command, "Mod4"},
                                                              {ModifierMask::option, "Mod1"},
                                                              {ModifierMask::control, "Control"},
                                                              {ModifierMask::shift, "Shift"}});

std::string combinationOf(const HotKeyConfig& config, std::string_view key) {
  std::string combination;
  for (const auto& each : modifiers) {
    if ((config.modifiers & each.mask) != 0) combination.append(each.name) += '+';
  }
  return combination.append(key);
}

// One command for every state of the lock keys, which sway tells apart.
std::string commands(std::string_view command, std::string_view combination,
                     std::string_view what = "") {
  std::string all;
  for (const auto* locks : {"", "Lock+", "Mod2+", "Lock+Mod2+"}) {
    all += fmt::format("{} {}{} {};", command, locks, combination, what);
  }
  return all;
}

std::string contentOf(const std::filesystem::path& file) {
  // A pipe would never end.
  std::error_code unknown;
  if (!std::filesystem::is_regular_file(file, unknown)) return {};
  std::ifstream input(file);
  return {std::istreambuf_iterator<char>(input), {}};
}

// As the shell reads a pattern, from the configuration's own folder.
std::vector<std::string> included(const std::filesystem::path& folder, std::string pattern) {
  for (const std::string name : {"$HOME", "${HOME}"}) {
    const auto at = pattern.find(name);
    if (at != std::string::npos) pattern.replace(at, name.size(), "~");
  }
  const auto place = pattern.starts_with('~') ? pattern : (folder / pattern).string();
  std::vector<std::string> texts;
  glob_t found{};
  if (::glob(place.c_str(), GLOB_TILDE | GLOB_BRACE, nullptr, &found) == 0) {
    for (std::size_t each = 0; each < found.gl_pathc; ++each) {
      texts.push_back(contentOf(found.gl_pathv[each]));
    }
  }
  ::globfree(&found);
  return texts;
}

// What the key gives on a US keyboard, as XKB names it.
std::string symbolOf(const HotKeyConfig& config) {
  const auto name = HotKeyConfig::symbolName(config.keyCode);
  if (!name) return {};
  std::string symbol = *name == "`" ? "grave" : std::string(*name);
  std::ranges::transform(symbol, symbol.begin(),
                         [](unsigned char letter) { return std::tolower(letter); });
  return symbol;
}

}  // namespace

SwayHotKeys::SwayHotKeys(std::shared_ptr<SwayIpc> sway)
    : sway_(std::move(sway)),
      subscription_(SwayIpc::subscribe(R"(["binding","workspace"])",
                                       [this](const SwayIpc::Event& event) { handle(event); })) {
  readConfiguration();
}

SwayHotKeys::~SwayHotKeys() {
  while (!hotKeys_.empty()) SwayHotKeys::unregisterHotKey(hotKeys_.begin()->first);
}

HotKeyCenter::Status SwayHotKeys::installEventHandler(Handler handler) {
  handler_ = std::move(handler);
  return noError;
}

HotKeyCenter::Registration SwayHotKeys::registerHotKey(const HotKeyConfig& config,
                                                       const HotKeyIdentity& identity) {
  HotKey hotKey{config, identity, {}};
  const Status status = bind(config, hotKey.combination);
  if (status != noError) return {status, 0};
  hotKeys_.emplace(++lastReference_, std::move(hotKey));
  return {noError, lastReference_};
}

void SwayHotKeys::unregisterHotKey(Reference reference) {
  const auto hotKey = hotKeys_.extract(reference);
  if (!hotKey || hotKey.mapped().combination.empty()) return;
  if (!isOurs(hotKey.mapped().combination)) {
    sway_->run(commands("unbindcode", hotKey.mapped().combination));
  }
}

HotKeyCenter::Status SwayHotKeys::bind(const HotKeyConfig& config, std::string& combination) {
  const auto key = xkbKeyCode(config.keyCode);
  if (!key) return noSuchKey;
  combination = combinationOf(config, std::to_string(*key));
  if (isOurs(combination)) return noError;
  if (isUsers(config, combination)) return isTaken;
  const bool isBound = sway_->run(commands("bindcode --no-repeat --no-warn", combination,
                                           std::string(ourCommand) + combination));
  return isBound ? noError : refused;
}

bool SwayHotKeys::isOurs(const std::string& combination) const {
  return std::ranges::any_of(
      hotKeys_, [&](const auto& each) { return each.second.combination == combination; });
}

bool SwayHotKeys::isUsers(const HotKeyConfig& config, const std::string& combination) const {
  const auto bySymbol = swayCombination(combinationOf(config, symbolOf(config)));
  return std::ranges::count(users_, *swayCombination(combination)) > 0 ||
         (bySymbol && std::ranges::count(users_, *bySymbol) > 0);
}

void SwayHotKeys::readConfiguration() {
  const auto folder = std::filesystem::path(sway_->configurationFile()).parent_path();
  users_ = swayBindings(sway_->configuration(),
                        [&](const std::string& pattern) { return included(folder, pattern); });
}

void SwayHotKeys::handle(const SwayIpc::Event& event) {
  if (event.command.starts_with(ourCommand)) return press(event.command.substr(ourCommand.size()));
  if (event.change == "reload") bindAllAnew();
}

void SwayHotKeys::press(const std::string& combination) {
  const auto found = std::ranges::find_if(
      hotKeys_, [&](const auto& each) { return each.second.combination == combination; });
  if (found == hotKeys_.end() || !handler_) return;
  // Copies, because the handler may end the registration.
  const auto identity = found->second.identity;
  const auto handler = handler_;
  handler(identity);
}

void SwayHotKeys::bindAllAnew() {
  readConfiguration();
  for (auto& [reference, hotKey] : hotKeys_) hotKey.combination.clear();
  for (auto& [reference, hotKey] : hotKeys_) {
    std::string combination;
    const Status status = bind(hotKey.config, combination);
    if (status == noError) {
      hotKey.combination = combination;
    } else {
      Log::hotKey.error(
          "The compositor's configuration changed and {} is not to be had any more ({})",
          hotKey.config.displayString(), status);
    }
  }
}

}  // namespace stowboard
