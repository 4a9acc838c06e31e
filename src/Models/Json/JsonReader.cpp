#include "Models/Json/JsonReader.h"

#include <fmt/format.h>

#include <boost/json/basic_parser_impl.hpp>
#include <boost/json/error.hpp>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <limits>

namespace stowboard {

namespace {

namespace json = boost::json;

constexpr std::size_t deepestNesting = 512;
// The parser asks for an error of its own kind when a handler ends it; it reports this one itself
// only after an exception, of which there is none here.
constexpr json::error endedByHandler = json::error::exception;
constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";

std::string_view viewOf(json::string_view text) { return {text.data(), text.size()}; }

// Joins what the parser hands over in parts, copying only where there is more than one.
class PartJoiner {
 public:
  void add(std::string_view part) {
    if (finished_) joined_.clear();
    finished_ = false;
    joined_.append(part);
  }
  std::string_view finish(std::string_view last) {
    if (finished_) return last;
    joined_.append(last);
    finished_ = true;
    return joined_;
  }

 private:
  std::string joined_;
  bool finished_ = true;
};

// The parser's events, in the form that it asks for, handed on to a JsonHandler.
class ParserEvents {
 public:
  static constexpr std::size_t max_object_size = std::numeric_limits<std::size_t>::max();
  static constexpr std::size_t max_array_size = std::numeric_limits<std::size_t>::max();
  static constexpr std::size_t max_key_size = std::numeric_limits<std::size_t>::max();
  static constexpr std::size_t max_string_size = std::numeric_limits<std::size_t>::max();

  using Error = json::error_code;
  using View = json::string_view;
  using Kind = JsonValue::Kind;

  explicit ParserEvents(JsonHandler& handler) : handler_(handler) {}

  bool on_document_begin(Error&) { return true; }
  bool on_document_end(Error&) { return true; }
  bool on_array_begin(Error& error) { return value(error, Kind::array); }
  bool on_array_end(std::size_t, Error& error) { return check(error, handler_.onClose()); }
  bool on_object_begin(Error& error) { return value(error, Kind::object); }
  bool on_object_end(std::size_t, Error& error) { return check(error, handler_.onClose()); }
  bool on_key_part(View part, std::size_t, Error&) { return keep(part); }
  bool on_key(View last, std::size_t, Error& error) {
    return check(error, handler_.onKey(parts_.finish(viewOf(last))));
  }
  bool on_string_part(View part, std::size_t, Error&) { return keep(part); }
  bool on_string(View last, std::size_t, Error& error) { return value(error, Kind::string, last); }
  bool on_number_part(View part, Error&) { return keep(part); }
  bool on_int64(std::int64_t, View last, Error& error) { return value(error, Kind::number, last); }
  bool on_uint64(std::uint64_t, View last, Error& error) {
    return value(error, Kind::number, last);
  }
  bool on_double(double, View last, Error& error) { return value(error, Kind::number, last); }
  bool on_bool(bool, Error& error) { return value(error, Kind::boolean); }
  bool on_null(Error& error) { return value(error, Kind::null); }
  bool on_comment_part(View, Error&) { return true; }
  bool on_comment(View, Error&) { return true; }

 private:
  bool keep(View part) {
    parts_.add(viewOf(part));
    return true;
  }
  bool value(Error& error, Kind kind, View last = {}) {
    return check(error, handler_.onValue({kind, parts_.finish(viewOf(last))}));
  }
  static bool check(Error& error, bool goOn) {
    if (!goOn) error = endedByHandler;
    return goOn;
  }

  JsonHandler& handler_;
  PartJoiner parts_;
};

std::string whatIsWrong(const json::error_code& error) {
  if (error == json::error::incomplete) return "the text ends too early";
  if (error == json::error::extra_data) return "there is more after the end of the value";
  if (error == json::error::too_deep) return "the nesting is too deep";
  if (error == json::error::illegal_leading_surrogate ||
      error == json::error::illegal_trailing_surrogate ||
      error == json::error::expected_utf16_escape) {
    return "an escape is half of a surrogate pair";
  }
  if (error == json::error::exponent_overflow) return "a number is out of range";
  return "this is not JSON (" + error.message() + ")";
}

// Drops as much of the mark as the chunk begins with, `passed` of whose bytes went before.
std::string_view withoutMark(std::string_view chunk, std::size_t& passed) {
  const std::string_view expected = byteOrderMark.substr(passed, chunk.size());
  if (!chunk.starts_with(expected)) return chunk;
  passed += expected.size();
  return chunk.substr(expected.size());
}

class Reading {
 public:
  Reading(const JsonSource& source, JsonHandler& handler)
      : source_(source), handler_(handler), parser_(options(), handler) {}

  JsonReading run() {
    if (!passMark()) return malformed(json::error::syntax);
    for (; !chunk_.empty(); chunk_ = source_()) {
      if (!parse(chunk_, true)) return end();
    }
    return parse("", false) ? JsonReading{} : end();
  }

 private:
  // Strings are checked by whoever keeps them: the parser's own check is slow, and would be the
  // second one for the texts of clips.
  static json::parse_options options() {
    json::parse_options chosen;
    chosen.max_depth = deepestNesting;
    chosen.allow_invalid_utf8 = true;
    return chosen;
  }

  // True when there is a whole mark or none; chunk_ is what comes after it.
  bool passMark() {
    std::size_t passed = 0;
    do {
      chunk_ = source_();
      position_ = passed;
      if (chunk_.empty()) return passed == 0;
      chunk_ = withoutMark(chunk_, passed);
    } while (chunk_.empty() && passed < byteOrderMark.size());
    const bool whole = passed == byteOrderMark.size();
    position_ = passed;
    if (whole && chunk_.empty()) chunk_ = source_();
    return whole || passed == 0;
  }

  bool parse(std::string_view chunk, bool more) {
    const std::size_t read = parser_.write_some(more, chunk.data(), chunk.size(), error_);
    position_ += read;
    if (!error_ && read < chunk.size()) error_ = json::error::extra_data;
    return !error_;
  }

  JsonReading end() {
    if (error_ == endedByHandler) return {JsonOutcome::endedByHandler, {}};
    return malformed(error_);
  }

  JsonReading malformed(const json::error_code& error) {
    return {JsonOutcome::malformed,
            fmt::format("{}: {}, at byte {}", handler_.place(), whatIsWrong(error), position_)};
  }

  const JsonSource& source_;
  JsonHandler& handler_;
  json::basic_parser<ParserEvents> parser_;
  json::error_code error_;
  std::string_view chunk_;
  std::size_t position_ = 0;
};

}  // namespace

std::optional<double> JsonValue::asDouble() const {
  if (kind != Kind::number) return std::nullopt;
  double number = 0;
  const auto read = std::from_chars(text.data(), text.data() + text.size(), number);
  if (read.ec == std::errc()) return number;
  return std::nullopt;
}

std::optional<std::int64_t> JsonValue::asInteger() const {
  if (kind != Kind::number) return std::nullopt;
  std::int64_t integer = 0;
  const char* end = text.data() + text.size();
  const auto read = std::from_chars(text.data(), end, integer);
  if (read.ec == std::errc() && read.ptr == end) return integer;

  constexpr double bound = 9223372036854775808.0;  // 2^63
  const std::optional<double> number = asDouble();
  if (!number || *number != std::trunc(*number)) return std::nullopt;
  if (*number < -bound || *number >= bound) return std::nullopt;
  return static_cast<std::int64_t>(*number);
}

JsonReading readJson(const JsonSource& source, JsonHandler& handler) {
  return Reading(source, handler).run();
}

}  // namespace stowboard
