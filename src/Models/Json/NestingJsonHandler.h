#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <utility>

#include "Models/Json/JsonForm.h"
#include "Models/Json/JsonReader.h"

namespace stowboard {

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
