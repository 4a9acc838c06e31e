#pragma once

#include <array>
#include <cstddef>
#include <memory>
#include <string_view>

#include "Models/Json/JsonForm.h"

namespace stowboard {

/// Writes JSON through a buffer of 256 KB into a sink, however large a value is. Brackets, commas
/// and keys are the caller's. Once the sink gives up nothing more is sent.
class JsonWriter {
 public:
  explicit JsonWriter(const JsonSink& sink);

  /// Text that is JSON already.
  void raw(std::string_view json);
  /// A string, which must be UTF-8. Escapes what has to be (RFC 8259 section 7) and no more.
  void string(std::string_view utf8);
  /// Bytes, as a Base64 string.
  void base64(std::string_view bytes);
  /// A number in the shortest form that reads back as the same. JSON has no form for one that is
  /// not finite: zero stands in.
  void number(double value);

  bool hasFailed() const { return failed_; }
  /// Sends what is left. False when the sink gave up, now or before.
  bool finish();

 private:
  static constexpr std::size_t capacity = std::size_t{256} * 1024;

  std::size_t room() const { return capacity - used_; }
  char* end() { return buffer_->data() + used_; }
  void makeRoom(std::size_t size);
  void flush();
  std::string_view copyUnescaped(std::string_view utf8);
  void escape(unsigned char character);

  const JsonSink& sink_;
  std::unique_ptr<std::array<char, capacity>> buffer_;
  std::size_t used_ = 0;
  bool failed_ = false;
};

}  // namespace stowboard
