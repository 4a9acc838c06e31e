#include "Platform/Desktop/KeyFile.h"

#include <algorithm>
#include <utility>

namespace stowboard {

namespace {

constexpr std::string_view mainGroup = "[Desktop Entry]";
// An escape stands for the character at the same place.
constexpr std::string_view escapes = "sntr\\";
constexpr std::string_view escaped = " \n\t\r\\";

// Empty for a line that holds no key.
std::string_view keyOf(std::string_view line) {
  const auto equals = line.find('=');
  if (equals == std::string_view::npos) return {};
  const auto key = trimmed(line.substr(0, equals));
  return key.starts_with('#') ? std::string_view() : key;
}

// Takes the first line off, its end included.
std::string_view takeLine(std::string_view& rest) {
  const auto line = rest.substr(0, rest.find('\n') + 1);
  rest.remove_prefix(line.size());
  return line;
}

std::string unescape(std::string_view value) {
  std::string text;
  for (std::size_t at = 0; at < value.size(); ++at) {
    const auto escape = value[at] == '\\' && at + 1 < value.size() ? escapes.find(value[at + 1])
                                                                   : std::string_view::npos;
    text += escape == std::string_view::npos ? value[at] : escaped[escape];
    if (escape != std::string_view::npos) ++at;
  }
  return text;
}

std::string escape(std::string_view text) {
  std::string value;
  for (const char letter : text) {
    const auto special = escaped.find(letter);
    // A blank needs it only where it would be taken for the space around the value.
    const bool isInner = letter == ' ' && !value.empty();
    if (special == std::string_view::npos || isInner) {
      value += letter;
    } else {
      value += {'\\', escapes[special]};
    }
  }
  return value;
}

}  // namespace

std::string_view trimmed(std::string_view text) {
  constexpr std::string_view blanks = " \t\r\n";
  const auto start = text.find_first_not_of(blanks);
  if (start == std::string_view::npos) return {};
  return text.substr(start, text.find_last_not_of(blanks) - start + 1);
}

std::string_view takeUntil(std::string_view& rest, char separator) {
  const auto end = std::min(rest.find(separator), rest.size());
  const auto part = rest.substr(0, end);
  rest.remove_prefix(std::min(end + 1, rest.size()));
  return part;
}

KeyFile::KeyFile(std::string content) : content_(std::move(content)) {
  if (!content_.empty() && !content_.ends_with('\n')) content_ += '\n';
  std::string_view rest = content_;
  bool isFound = false;
  while (!isFound && !rest.empty()) isFound = trimmed(takeLine(rest)) == mainGroup;
  begin_ = end_ = content_.size() - rest.size();
  while (!rest.empty() && !trimmed(takeLine(rest)).starts_with('[')) {
    end_ = content_.size() - rest.size();
  }
  if (isFound) return;
  content_ += std::string(mainGroup) + "\n";
  begin_ = end_ = content_.size();
}

std::string_view KeyFile::group() const {
  return std::string_view(content_).substr(begin_, end_ - begin_);
}

// The whole line; empty when there is none.
std::string_view KeyFile::find(std::string_view key) const {
  for (auto rest = group(); !rest.empty();) {
    const auto line = takeLine(rest);
    if (keyOf(line) == key) return line;
  }
  return {};
}

void KeyFile::replace(std::string_view part, std::string_view lines) {
  content_.replace(static_cast<std::size_t>(part.data() - content_.data()), part.size(), lines);
  end_ = end_ - part.size() + lines.size();
}

std::optional<std::string_view> KeyFile::rawValue(std::string_view key) const {
  const auto line = find(key);
  if (line.empty()) return std::nullopt;
  return trimmed(line.substr(line.find('=') + 1));
}

std::string KeyFile::string(std::string_view key) const {
  return unescape(rawValue(key).value_or(""));
}

std::optional<bool> KeyFile::boolean(std::string_view key) const {
  const auto value = rawValue(key);
  if (value == "true" || value == "1") return true;
  if (value == "false" || value == "0") return false;
  return std::nullopt;
}

std::vector<std::string> KeyFile::list(std::string_view key) const {
  std::vector<std::string> items;
  for (auto rest = rawValue(key).value_or(""); !rest.empty();) {
    const auto item = trimmed(takeUntil(rest, ';'));
    if (!item.empty()) items.emplace_back(item);
  }
  return items;
}

std::vector<std::string> KeyFile::keys() const {
  std::vector<std::string> keys;
  for (auto rest = group(); !rest.empty();) {
    if (const auto key = keyOf(takeLine(rest)); !key.empty()) keys.emplace_back(key);
  }
  return keys;
}

void KeyFile::setRawValue(std::string_view key, std::string_view value) {
  std::string line = std::string(key) + "=" + std::string(value) + "\n";
  auto place = find(key);
  if (place.empty()) {
    // Behind the last line that is not blank.
    std::size_t at = 0;
    for (auto rest = group(); !rest.empty();) {
      if (!trimmed(takeLine(rest)).empty()) at = group().size() - rest.size();
    }
    place = group().substr(at, 0);
  }
  replace(place, line);
}

void KeyFile::setString(std::string_view key, std::string_view value) {
  setRawValue(key, escape(value));
}

void KeyFile::remove(std::string_view key) {
  for (auto line = find(key); !line.empty(); line = find(key)) replace(line, {});
}

}  // namespace stowboard
