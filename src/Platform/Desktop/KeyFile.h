#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace stowboard {

/// The main group of a desktop entry file, to be read and changed with everything else in the file
/// left as it is: other groups, comments, order (Desktop Entry standard, "Basic format of the
/// file"). Lines that are neither are kept and mean nothing. Of a repeated key the first counts.
class KeyFile {
 public:
  explicit KeyFile(std::string_view content = {});

  /// The value as it stands in the file, blanks around it removed; absent when there is no such
  /// key.
  std::optional<std::string> rawValue(std::string_view key) const;
  /// The value of type string, its escapes (\s \n \t \r \\) resolved; empty when there is none.
  std::string string(std::string_view key) const;
  /// The value of type boolean; absent when there is none or it is malformed.
  std::optional<bool> boolean(std::string_view key) const;
  /// The non-empty items of a value of type string(s).
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
  std::string content() const;

 private:
  std::vector<std::string>::const_iterator find(std::string_view key) const;

  // The group's lines lie in [begin_, end_).
  std::vector<std::string> lines_;
  std::size_t begin_ = 0;
  std::size_t end_ = 0;
};

}  // namespace stowboard
