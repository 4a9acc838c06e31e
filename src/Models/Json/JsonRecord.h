#pragma once

#include <fmt/format.h>

#include <array>
#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>

#include "Models/Json/JsonForm.h"
#include "Models/Json/JsonReader.h"
#include "Models/Json/JsonWriter.h"

namespace stowboard {

/// One key of a record: how its value is taken into the draft of a record, and written. `take`
/// returns what is wrong with the value ("is not a number"), or nothing.
template <typename Draft>
struct JsonField {
  std::string_view key;
  bool isRequired = false;
  std::string_view (*take)(Draft& draft, const JsonValue& value) = nullptr;
  void (*write)(JsonWriter& writer, const Draft& record) = nullptr;
};

/// Writes all fields of a record as an object.
template <typename Record, std::size_t fieldCount>
void writeRecord(JsonWriter& writer, const std::array<JsonField<Record>, fieldCount>& fields,
                 const Record& record) {
  char before = '{';
  for (const auto& field : fields) {
    writer.raw(fmt::format("{}\"{}\":", std::exchange(before, ','), field.key));
    field.write(writer, record);
  }
  writer.raw("}");
}

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

/// What the handlers of our files have in common: they know how deep in the text they are, and keep
/// the first thing that is wrong, which ends the reading.
class NestingJsonHandler : public JsonHandler {
 public:
  bool onValue(const JsonValue& value) override {
    const bool opens =
        value.kind == JsonValue::Kind::array || value.kind == JsonValue::Kind::object;
    const bool goOn = take(value);
    if (opens) ++depth_;
    return goOn;
  }

 protected:
  /// Handles a value, which stands at `depth_`; false ends the reading.
  virtual bool take(const JsonValue& value) = 0;

  bool fail(std::string problem) {
    problem_ = std::move(problem);
    return false;
  }

  /// Why the reading gives no value; absent when it came to its end.
  std::optional<DecodingError> errorOf(JsonReading& reading) {
    if (reading.outcome == JsonOutcome::malformed) return DecodingError{std::move(reading.error)};
    if (reading.outcome == JsonOutcome::endedByHandler) return DecodingError{std::move(problem_)};
    return std::nullopt;
  }

  std::size_t depth_ = 0;
  /// The key read last that counts for the place of an error.
  std::string key_;

 private:
  std::string problem_;
};

}  // namespace stowboard
