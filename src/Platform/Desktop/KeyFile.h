#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace stowboard {

/// The text without the blanks around it.
std::string_view trimmed(std::string_view text);

/// Takes what stands before the separator off `rest`, and the separator with it; all of it where
/// there is none.
std::string_view takeUntil(std::string_view& rest, char separator);

/// The main group of a desktop entry file, to be read and changed with everything else in the file
/// left as it is: other groups, comments, order (Desktop Entry standard, "Basic format of the
/// file"). Lines that are neither are kept and mean nothing. Of a repeated key the first counts.
/// Nothing is taken apart before it is asked for, so that many files are read quickly.
class KeyFile {
 public:
  explicit KeyFile(std::string content = {});

  /// The value as it stands in the file, blanks around it removed; absent when there is no such
  /// key. Valid until the next change.
  std::optional<std::string_view> rawValue(std::string_view key) const;
  /// The value of type string, its escapes (\s \n \t \r \\) resolved; empty when there is none.
  std::string string(std::string_view key) const;
  /// The value of type boolean; absent when there is none or it is malformed.
  std::optional<bool> boolean(std::string_view key) const;
  /// The non-empty items of a value of type string(s), blanks around them removed.
  std::vector<std::string> list(std::string_view key) const;

  /// The keys of the group, in order.
  std::vector<std::string> keys() const;

  /// Replaces the value, or adds the key to the end of the group, which is made where it is
  /// missing.
  void setRawValue(std::string_view key, std::string_view value);
  /// As setRawValue(), with the characters escaped that a value of type string cannot hold.
  void setString(std::string_view key, std::string_view value);
  void remove(std::string_view key);

  /// The whole file.
  const std::string& content() const { return content_; }

 private:
  std::string_view group() const;
  std::string_view find(std::string_view key) const;
  void replace(std::string_view part, std::string_view lines);

  // The group's lines lie in [begin_, end_), each with its line end.
  std::string content_;
  std::size_t begin_ = 0;
  std::size_t end_ = 0;
};

}  // namespace stowboard
