#include "Platform/Clipboard/TextEncoding.h"

#include <unicode/unistr.h>

#include <algorithm>
#include <array>
#include <utility>

#include "Base/Unicode/Utf8.h"

namespace stowboard {

namespace {

constexpr char escape = '\x1b';

bool isUtf8(std::string_view bytes) { return scanUtf8(bytes).validLength == bytes.size(); }

// One of the two halves of the 8-bit code table: what its bytes mean at the moment.
struct CharacterSet {
  const char* converter;
  // The converters know the two-byte sets in the right half only.
  bool isTwoBytes;
};

struct Designation {
  std::string_view sequence;
  bool isRightHalf;
  CharacterSet set;
};

// Final characters: the standard's section 5 and ISO-IR.
constexpr auto designations = std::to_array<Designation>({
    {"(B", false, {"US-ASCII", false}},
    {"-A", true, {"ISO-8859-1", false}},
    {"-B", true, {"ISO-8859-2", false}},
    {"-C", true, {"ISO-8859-3", false}},
    {"-D", true, {"ISO-8859-4", false}},
    {"-F", true, {"ISO-8859-7", false}},
    {"-G", true, {"ISO-8859-6", false}},
    {"-H", true, {"ISO-8859-8", false}},
    {"-L", true, {"ISO-8859-5", false}},
    {"-M", true, {"ISO-8859-9", false}},
    {"-b", true, {"ISO-8859-15", false}},
    {"$(A", false, {"GB2312", true}},
    {"$(B", false, {"EUC-JP", true}},
    {"$(C", false, {"EUC-KR", true}},
    {"$)A", true, {"GB2312", true}},
    {"$)B", true, {"EUC-JP", true}},
    {"$)C", true, {"EUC-KR", true}},
});

class CompoundTextDecoder {
 public:
  explicit CompoundTextDecoder(std::string_view compound) : rest_(compound) {}

  std::optional<std::string> decode() {
    while (!rest_.empty()) {
      if (!(rest_.front() == escape ? takeEscape() : takeRun())) return std::nullopt;
    }
    return std::move(utf8_);
  }

 private:
  bool takeEscape() {
    rest_.remove_prefix(1);
    if (rest_.starts_with("%G")) return takeUtf8Segment();
    const auto* const designation = std::ranges::find_if(
        designations, [this](const Designation& each) { return rest_.starts_with(each.sequence); });
    if (designation == designations.end()) return false;
    (designation->isRightHalf ? right_ : left_) = designation->set;
    rest_.remove_prefix(designation->sequence.size());
    return true;
  }

  bool takeUtf8Segment() {
    constexpr std::string_view begin = "%G";
    constexpr std::string_view end = "\x1b%@";
    const auto length = rest_.find(end);
    if (length == std::string_view::npos) return false;
    const auto segment = rest_.substr(begin.size(), length - begin.size());
    rest_.remove_prefix(length + end.size());
    utf8_.append(segment);
    return isUtf8(segment);
  }

  // Bytes of one half; the controls and the space always stand for themselves.
  bool takeRun() {
    const auto kindOf = [](char c) {
      const auto byte = static_cast<unsigned char>(c);
      return byte <= 0x20 ? 0 : byte < 0x80 ? 1 : 2;
    };
    const int kind = kindOf(rest_.front());
    const auto end =
        std::ranges::find_if(rest_, [&](char c) { return c == escape || kindOf(c) != kind; });
    std::string run(rest_.begin(), end);
    rest_.remove_prefix(run.size());
    if (kind != 0) return convert(std::move(run), kind == 1 ? left_ : right_);
    utf8_.append(run);
    return true;
  }

  bool convert(std::string run, CharacterSet set) {
    if (set.isTwoBytes) {
      for (char& c : run) c = static_cast<char>(c | 0x80);
    }
    const icu::UnicodeString text(run.data(), static_cast<int32_t>(run.size()), set.converter);
    text.toUTF8String(utf8_);
    // What the converters put for bytes without a meaning.
    return text.indexOf(char16_t{0xFFFD}) < 0 && text.indexOf(char16_t{0x1A}) < 0;
  }

  std::string_view rest_;
  std::string utf8_;
  CharacterSet left_{"US-ASCII", false};
  CharacterSet right_{"ISO-8859-1", false};
};

std::string latin1ToUtf8(std::string_view latin1) {
  std::string utf8;
  utf8.reserve(latin1.size() +
               std::ranges::count_if(latin1, [](char c) { return (c & 0x80) != 0; }));
  for (const char c : latin1) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte >= 0x80) utf8 += static_cast<char>(0xC0 | byte >> 6);
    utf8 += byte < 0x80 ? c : static_cast<char>(0x80 | (byte & 0x3F));
  }
  return utf8;
}

std::string toUtf8(std::string content, TextEncoding encoding) {
  switch (encoding) {
    case TextEncoding::latin1:
      return latin1ToUtf8(content);
    case TextEncoding::compoundText:
      return compoundTextToUtf8(content).value_or(content);
    case TextEncoding::unstated:
      return isUtf8(content) ? std::move(content) : latin1ToUtf8(content);
    case TextEncoding::utf8:
      break;
  }
  return content;
}

}  // namespace

std::optional<std::string> compoundTextToUtf8(std::string_view compound) {
  return CompoundTextDecoder(compound).decode();
}

Text decodedText(std::string content, TextEncoding encoding) {
  if (content.ends_with('\0')) content.pop_back();
  std::string utf8 = toUtf8(std::move(content), encoding);
  // Text::fromUtf8 shares the buffer, where the repairing constructor would copy it.
  const Bytes bytes(std::move(utf8));
  if (auto text = Text::fromUtf8(bytes)) return *std::move(text);
  return Text(std::string(bytes.view()));
}

bool fitsLatin1(std::string_view utf8) {
  // U+00FF begins with C3; the bytes in the middle of a character are all below.
  return std::ranges::all_of(utf8, [](char c) { return static_cast<unsigned char>(c) < 0xC4; });
}

std::optional<std::string> utf8ToLatin1(std::string_view utf8) {
  if (!fitsLatin1(utf8)) return std::nullopt;
  std::string latin1;
  latin1.reserve(utf8.size());
  for (std::size_t place = 0; place < utf8.size();) {
    const auto [codePoint, length] = decodeUtf8(utf8, place);
    latin1 += static_cast<char>(codePoint);
    place += length;
  }
  return latin1;
}

std::optional<std::string> utf8ToCompoundText(std::string_view utf8) {
  if (utf8.find('\x1b') != std::string_view::npos) return std::nullopt;
  if (auto latin1 = utf8ToLatin1(utf8)) return latin1;
  return "\x1b%G" + std::string(utf8) + "\x1b%@";
}

}  // namespace stowboard
