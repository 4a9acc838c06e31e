#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "Base/Bytes.h"

namespace stowboard {

class SearchQuery;

/// An immutable Unicode string, always valid UTF-8. Copies share the storage. Safe to use from any
/// thread.
///
/// Equality is canonical equivalence (UAX #15): a precomposed letter equals its decomposed form.
class Text {
 public:
  Text() = default;
  /// Takes UTF-8; each malformed sequence becomes U+FFFD, as Unicode 3.9 recommends.
  explicit Text(std::string utf8);
  /// Empty when the bytes are not valid UTF-8. Shares the storage of `bytes`: nothing is copied.
  static std::optional<Text> fromUtf8(const Bytes& bytes);

  std::string_view view() const;
  bool empty() const { return view().empty(); }
  /// The UTF-8 bytes, sharing this text's storage.
  Bytes bytes() const;

  /// The first `count` user-perceived characters (extended grapheme clusters, UAX #29). Reads no
  /// further into the text than it must.
  std::string_view prefix(std::size_t count) const;

  /// Whether the query occurs in the text; see SearchQuery for the rules. An empty query does. The
  /// first search of a text that is not plain (CodePointTrait) derives and keeps its folded form.
  bool contains(const SearchQuery& query) const;

  /// Does now what the first search with a query of this locale would otherwise do; for threads
  /// that have the time. A text of ASCII, ideographs and the like has nothing to prepare.
  void prepareForSearch(std::string_view locale = {}) const;

  friend bool operator==(const Text& left, const Text& right);

 private:
  struct Shared;
  explicit Text(std::shared_ptr<const Shared> shared) : shared_(std::move(shared)) {}
  std::shared_ptr<const Shared> shared_;
};

}  // namespace stowboard
