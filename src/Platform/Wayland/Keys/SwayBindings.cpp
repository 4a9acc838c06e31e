#include "Platform/Wayland/Keys/SwayBindings.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <map>
#include <utility>

namespace stowboard {

namespace {

using Words = std::vector<std::string>;

struct ModifierName {
  std::string_view name;
  /// None for a lock key.
  std::string_view modifier;
};

constexpr std::array modifierNames = std::to_array<ModifierName>({
    {"shift", "SHIFT"},
    {"control", "CONTROL"},
    {"ctrl", "CONTROL"},
    {"mod1", "MOD1"},
    {"alt", "MOD1"},
    {"mod4", "MOD4"},
    {"super", "MOD4"},
    {"logo", "MOD4"},
    {"mod3", "MOD3"},
    {"mod5", "MOD5"},
    {"lock", ""},
    {"caps", ""},
    {"mod2", ""},
});

std::string lowerCase(std::string_view text) {
  std::string lower(text);
  std::ranges::transform(lower, lower.begin(),
                         [](unsigned char letter) { return std::tolower(letter); });
  return lower;
}

// The words of a line; quotes keep spaces together.
Words split(std::string_view line) {
  Words words;
  char quote = 0;
  bool isInWord = false;
  for (const char letter : line) {
    if (quote == 0 && std::isspace(static_cast<unsigned char>(letter)) != 0) {
      isInWord = false;
    } else if (quote == letter) {
      quote = 0;
    } else {
      if (!std::exchange(isInWord, true)) words.emplace_back();
      if (quote == 0 && (letter == '"' || letter == '\'')) {
        quote = letter;
      } else {
        words.back() += letter;
      }
    }
  }
  return words;
}

/// Reads a configuration line by line.
class Reader {
 public:
  using Include = std::function<std::vector<std::string>(const std::string& pattern)>;
  explicit Reader(const Include& include) : include_(include) {}

  void read(std::string_view text) {
    std::string line;
    while (!text.empty()) {
      const auto end = std::min(text.find('\n'), text.size());
      line += text.substr(0, end);
      text.remove_prefix(std::min(end + 1, text.size()));
      if (line.ends_with('\\')) {
        line.pop_back();
      } else {
        readLine(std::exchange(line, {}));
      }
    }
    readLine(line);
  }

  std::vector<SwayCombination> combinations;

 private:
  void readLine(const std::string& line) {
    auto words = split(line);
    if (words.empty() || words.front().starts_with('#')) return;
    if (words.front() == "}") return blocks_.empty() ? void() : blocks_.pop_back();
    // Variables are set with their own names in the clear.
    for (auto word = words.begin() + (words.front() == "set" ? 2 : 0); word < words.end(); ++word) {
      substitute(*word);
    }
    if (words.back() == "{") {
      words.pop_back();
      return open(std::move(words));
    }
    if (blocks_.empty()) return readCommand(std::move(words));
    // Bindings may share a block; whatever stands in another kind of block is not the default
    // mode's.
    if (blocks_.size() > 1 || !isBinding(blocks_.front())) return;
    words.insert(words.begin(), blocks_.front());
    readCommand(std::move(words));
  }

  static bool isBinding(const std::string& word) { return word == "bindsym" || word == "bindcode"; }

  // A brace may have its line to itself.
  void open(Words words) { blocks_.push_back(words.empty() ? std::string() : words.front()); }

  void readCommand(Words words) {
    if (words.front() == "set" && words.size() > 2) {
      std::string value = words[2];
      for (std::size_t each = 3; each < words.size(); ++each) value += " " + words[each];
      variables_[words[1]] = value;
    } else if (words.front() == "include" && words.size() > 1 && depth_ < deepestInclude) {
      ++depth_;
      for (const auto& text : include_(words[1])) read(text);
      --depth_;
    } else if (isBinding(words.front())) {
      readBinding(words);
    }
  }

  void readBinding(const Words& words) {
    const auto flags = [](const std::string& word) { return word.starts_with("--"); };
    const auto found = std::find_if_not(words.begin() + 1, words.end(), flags);
    // Released bindings are others, and those of the pointer have a key that is none.
    if (found == words.end() || std::ranges::count(words, "--release") > 0) return;
    if (auto combination = swayCombination(*found)) {
      combinations.push_back(std::move(*combination));
    }
  }

  // The longest name that fits, as sway does.
  void substitute(std::string& word) const {
    for (auto at = word.find('$'); at != std::string::npos; at = word.find('$', at + 1)) {
      const std::pair<const std::string, std::string>* longest = nullptr;
      for (const auto& each : variables_) {
        if (word.compare(at, each.first.size(), each.first) != 0) continue;
        if (longest == nullptr || each.first.size() > longest->first.size()) longest = &each;
      }
      if (longest != nullptr) word.replace(at, longest->first.size(), longest->second);
    }
  }

  static constexpr int deepestInclude = 8;

  const Include& include_;
  std::map<std::string, std::string> variables_;
  std::vector<std::string> blocks_;
  int depth_ = 0;
};

}  // namespace

std::optional<SwayCombination> swayCombination(std::string_view text) {
  SwayCombination combination;
  while (!text.empty()) {
    const auto end = std::min(text.find('+'), text.size());
    const auto part = lowerCase(text.substr(0, end));
    text.remove_prefix(std::min(end + 1, text.size()));
    const auto* modifier = std::ranges::find(modifierNames, part, &ModifierName::name);
    if (modifier == modifierNames.end()) {
      if (!part.starts_with("group")) combination.key = part;
    } else if (!modifier->modifier.empty()) {
      combination.modifiers.emplace_back(modifier->modifier);
    }
  }
  std::ranges::sort(combination.modifiers);
  return combination.key.empty() ? std::nullopt : std::optional(std::move(combination));
}

std::vector<SwayCombination> swayBindings(
    std::string_view configuration,
    const std::function<std::vector<std::string>(const std::string& pattern)>& include) {
  Reader reader(include);
  reader.read(configuration);
  return std::move(reader.combinations);
}

}  // namespace stowboard
