#include "Platform/Desktop/KeyFile.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace stowboard {

namespace {

constexpr std::string_view mainGroup = "[Desktop Entry]";
// An escape stands for the character at the same place.
constexpr std::string_view escapes = "sntr\\";
constexpr std::string_view escaped = " \n\t\r\\";

std::string_view trimmed(std::string_view text) {
  constexpr std::string_view blanks = " \t\r";
  const auto start = text.find_first_not_of(blanks);
  if (start == std::string_view::npos) return {};
  return text.substr(start, text.find_last_not_of(blanks) - start + 1);
}

bool isComment(std::string_view line) { return line.starts_with('#'); }

// Empty for a line that holds no key.
std::string_view keyOf(std::string_view line) {
  const auto equals = line.find('=');
  return isComment(line) || equals == std::string_view::npos ? std::string_view()
                                                             : trimmed(line.substr(0, equals));
}

std::string_view valueOf(std::string_view line) { return trimmed(line.substr(line.find('=') + 1)); }

std::vector<std::string> linesOf(std::string_view content) {
  std::vector<std::string> lines;
  while (!content.empty()) {
    const auto end = std::min(content.find('\n'), content.size());
    lines.emplace_back(content.substr(0, end));
    content.remove_prefix(std::min(end + 1, content.size()));
  }
  return lines;
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

KeyFile::KeyFile(std::string_view content) : lines_(linesOf(content)) {
  const auto isMainGroup = [](const auto& line) { return trimmed(line) == mainGroup; };
  const auto isGroup = [](const auto& line) { return line.starts_with('['); };
  const auto header = std::find_if(lines_.begin(), lines_.end(), isMainGroup);
  if (header == lines_.end()) lines_.emplace_back(mainGroup);
  const auto found = std::find_if(lines_.begin(), lines_.end(), isMainGroup);
  begin_ = static_cast<std::size_t>(found - lines_.begin()) + 1;
  end_ = static_cast<std::size_t>(std::find_if(found + 1, lines_.end(), isGroup) - lines_.begin());
}

std::vector<std::string>::const_iterator KeyFile::find(std::string_view key) const {
  const auto end = lines_.begin() + static_cast<std::ptrdiff_t>(end_);
  const auto found = std::find_if(lines_.begin() + static_cast<std::ptrdiff_t>(begin_), end,
                                  [key](const auto& line) { return keyOf(line) == key; });
  return found == end ? lines_.end() : found;
}

std::optional<std::string> KeyFile::rawValue(std::string_view key) const {
  const auto line = find(key);
  return line == lines_.end() ? std::nullopt : std::optional<std::string>(valueOf(*line));
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
  const std::string value = rawValue(key).value_or("");
  for (std::string_view rest = value; !rest.empty();) {
    const auto end = std::min(rest.find(';'), rest.size());
    if (end > 0) items.emplace_back(rest.substr(0, end));
    rest.remove_prefix(std::min(end + 1, rest.size()));
  }
  return items;
}

std::vector<std::string> KeyFile::keys() const {
  std::vector<std::string> keys;
  for (auto at = begin_; at < end_; ++at) {
    if (const auto key = keyOf(lines_[at]); !key.empty()) keys.emplace_back(key);
  }
  return keys;
}

void KeyFile::setRawValue(std::string_view key, std::string_view value) {
  std::string line = std::string(key) + "=" + std::string(value);
  const auto found = find(key);
  if (found != lines_.end()) {
    lines_[static_cast<std::size_t>(found - lines_.begin())] = std::move(line);
    return;
  }
  auto at = end_;
  while (at > begin_ && trimmed(lines_[at - 1]).empty()) --at;
  lines_.insert(lines_.begin() + static_cast<std::ptrdiff_t>(at), std::move(line));
  ++end_;
}

void KeyFile::setString(std::string_view key, std::string_view value) {
  setRawValue(key, escape(value));
}

void KeyFile::remove(std::string_view key) {
  for (auto found = find(key); found != lines_.end(); found = find(key)) {
    lines_.erase(found);
    --end_;
  }
}

std::string KeyFile::content() const {
  std::string content;
  for (const auto& line : lines_) content += line + "\n";
  return content;
}

}  // namespace stowboard
