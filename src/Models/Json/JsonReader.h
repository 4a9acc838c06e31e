#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "Models/Json/JsonForm.h"

namespace stowboard {

/// One value as it occurs in a JSON text. An array or object stands for its opening bracket.
struct JsonValue {
  enum class Kind { null, boolean, number, string, array, object };

  Kind kind = Kind::null;
  /// A number as it was written, a string unescaped and not yet known to be UTF-8; else empty.
  /// Valid during the call that it is handed to.
  std::string_view text;

  /// The number in double precision; empty when this is no number or one out of range.
  std::optional<double> asDouble() const;
  /// The number when it is integral, however it is written (10, 10.0, 1e1), and in range.
  std::optional<std::int64_t> asInteger() const;
};

/// Takes a JSON text apart, event by event. Each operation returns false to end the reading.
class JsonHandler {
 public:
  virtual ~JsonHandler() = default;

  /// A value, or the opening of one that holds others.
  virtual bool onValue(const JsonValue& value) = 0;
  /// The key of the next value of the innermost object.
  virtual bool onKey(std::string_view key) = 0;
  /// The end of the innermost array or object.
  virtual bool onClose() = 0;
  /// Where in the text the reading stands ("clip 3: \"timestamp\""), for error messages.
  virtual std::string place() const = 0;
};

enum class JsonOutcome { complete, endedByHandler, malformed };

struct JsonReading {
  JsonOutcome outcome = JsonOutcome::complete;
  /// For a malformed text: what is wrong, where, and at which byte.
  std::string error;
};

/// Reads one JSON text (RFC 8259) to its end. A byte-order mark before it is passed over. Malformed
/// are: what breaks the grammar, brackets more than 512 deep, unpaired surrogates, and anything but
/// white space after the value.
JsonReading readJson(const JsonSource& source, JsonHandler& handler);

}  // namespace stowboard
