#pragma once

#include <fmt/format.h>

#include <array>
#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "Models/Json/JsonReader.h"

namespace stowboard {

/// One key of a record: how its value is taken into the draft of a record. `take` returns what is
/// wrong with the value ("is not a number"), or nothing.
template <typename Draft>
struct JsonField {
  std::string_view key;
  bool isRequired = false;
  std::string_view (*take)(Draft& draft, const JsonValue& value) = nullptr;
};

/// Collects the values of one JSON object into a draft. Problems are kept by field until the object
/// ends, since a later value for the same key replaces an earlier one, good or bad.
template <typename Draft, std::size_t fieldCount>
class JsonRecord {
 public:
  using Fields = std::array<JsonField<Draft>, fieldCount>;

  explicit JsonRecord(const Fields& fields) : fields_(fields) {}

  Draft draft;

  void begin() {
    draft = {};
    problems_.fill({});
    seen_.fill(false);
    current_ = fieldCount;
  }

  /// Names the field that the next value is for.
  void onKey(std::string_view key) {
    current_ = 0;
    while (current_ < fieldCount && fields_[current_].key != key) ++current_;
  }

  /// False when the value belongs to no field.
  bool onValue(const JsonValue& value) {
    if (current_ == fieldCount) return false;
    seen_[current_] = true;
    problems_[current_] = fields_[current_].take(draft, value);
    return true;
  }

  /// The key of the field that the last value was for; empty when it was for none.
  std::string_view currentKey() const {
    return current_ == fieldCount ? std::string_view() : fields_[current_].key;
  }

  /// Adds a problem within the value of the current field; the first one counts.
  void addProblem(const std::string& problem) {
    if (problems_[current_].empty()) problems_[current_] = problem;
  }

  /// The first problem in the order of the fields, as `"key" is missing`; empty when the record is
  /// good.
  std::optional<std::string> firstProblem() const {
    for (std::size_t index = 0; index < fieldCount; ++index) {
      const std::string_view key = fields_[index].key;
      if (!problems_[index].empty()) return fmt::format("\"{}\" {}", key, problems_[index]);
      if (fields_[index].isRequired && !seen_[index]) return fmt::format("\"{}\" is missing", key);
    }
    return std::nullopt;
  }

 private:
  const Fields& fields_;
  std::array<std::string, fieldCount> problems_;
  std::array<bool, fieldCount> seen_{};
  std::size_t current_ = fieldCount;
};

/// A key as it is named in an error message: quoted, and cut short where it is long.
std::string quotedKey(std::string_view key);

/// Whether a string that is passed over is UTF-8, as every part of a JSON text has to be.
bool isUtf8(std::string_view text);

}  // namespace stowboard
