#include "Base/Uuid.h"

#include <boost/uuid/random_generator.hpp>
#include <boost/uuid/string_generator.hpp>
#include <boost/uuid/uuid_io.hpp>
#include <stdexcept>

namespace stowboard {

Uuid Uuid::random() { return Uuid(boost::uuids::random_generator_pure()()); }

std::optional<Uuid> Uuid::fromString(std::string_view text) {
  // The generator takes forms in braces and without hyphens, too, none of which is as long.
  if (text.size() != 36) return std::nullopt;
  try {
    return Uuid(boost::uuids::string_generator()(text.begin(), text.end()));
  } catch (const std::runtime_error&) {
    return std::nullopt;
  }
}

std::string Uuid::toString() const {
  std::string text = boost::uuids::to_string(value_);
  for (char& digit : text)
    if (digit >= 'a') digit = static_cast<char>(digit - 'a' + 'A');
  return text;
}

}  // namespace stowboard
