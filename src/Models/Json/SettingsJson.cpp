// The settings file: one object.

#include <fmt/format.h>

#include <limits>
#include <utility>

#include "Base/Unicode/Text.h"
#include "Models/Json/JsonForm.h"
#include "Models/Json/JsonReader.h"
#include "Models/Json/JsonRecord.h"
#include "Models/Json/JsonWriter.h"
#include "Models/Json/NestingJsonHandler.h"

namespace stowboard {

namespace {

using Kind = JsonValue::Kind;

constexpr std::string_view isFine;

std::string_view takeUnsigned(std::uint32_t& target, const JsonValue& value) {
  if (value.kind != Kind::number) return "is not a number";
  const std::optional<std::int64_t> number = value.asInteger();
  if (!number || *number < 0 || *number > std::numeric_limits<std::uint32_t>::max()) {
    return "is not an integer from 0 to 4294967295";
  }
  target = static_cast<std::uint32_t>(*number);
  return isFine;
}

struct HotKeyDraft {
  std::uint32_t keyCode = 0;
  std::uint32_t modifiers = 0;
};

constexpr std::array<JsonField<HotKeyDraft>, 2> hotKeyFields{{
    {"keyCode", true,
     [](HotKeyDraft& draft, const JsonValue& value) { return takeUnsigned(draft.keyCode, value); }},
    {"modifiers", true,
     [](HotKeyDraft& draft, const JsonValue& value) {
       return takeUnsigned(draft.modifiers, value);
     }},
}};

// Every field takes its default for null, as for a missing key.
std::string_view takeMaxRecords(AppSettings& draft, const JsonValue& value) {
  draft.maxRecords = AppSettings::defaults.maxRecords;
  if (value.kind == Kind::null) return isFine;
  if (value.kind != Kind::number) return "is not a number";
  const std::optional<std::int64_t> number = value.asInteger();
  if (!number) return "is not an integer of 64 bits";
  draft.maxRecords = *number;
  return isFine;
}

std::string_view takePasteMode(AppSettings& draft, const JsonValue& value) {
  draft.pasteMode = AppSettings::defaults.pasteMode;
  if (value.kind == Kind::null) return isFine;
  if (value.kind != Kind::string) return "is not a string";
  const std::optional<PasteMode> mode = pasteModeFromRawValue(value.text);
  if (!mode) return "is neither directPaste nor copyOnly";
  draft.pasteMode = *mode;
  return isFine;
}

std::string_view takeHotKey(AppSettings& draft, const JsonValue& value) {
  draft.hotKey = AppSettings::defaults.hotKey;
  return value.kind == Kind::null || value.kind == Kind::object ? isFine : "is not an object";
}

std::string_view takeExcluded(AppSettings& draft, const JsonValue& value) {
  draft.excludedBundleIds.clear();
  return value.kind == Kind::null || value.kind == Kind::array ? isFine : "is not an array";
}

std::string_view takeLanguage(AppSettings& draft, const JsonValue& value) {
  draft.language = AppSettings::defaults.language;
  if (value.kind == Kind::null) return isFine;
  if (value.kind != Kind::string) return "is not a string";
  const std::optional<AppLanguage> language = appLanguageFromId(value.text);
  if (!language) return "is neither en nor zh-Hans";
  draft.language = *language;
  return isFine;
}

std::string_view takeDirectPasteModifiers(AppSettings& draft, const JsonValue& value) {
  draft.directPasteModifiers = AppSettings::defaults.directPasteModifiers;
  return value.kind == Kind::null ? isFine : takeUnsigned(draft.directPasteModifiers, value);
}

constexpr std::string_view hotKeyKey = "hotKey";
constexpr std::string_view excludedKey = "excludedBundleIds";

constexpr std::array<JsonField<AppSettings>, 6> settingsFields{{
    {"maxRecords", false, takeMaxRecords},
    {"pasteMode", false, takePasteMode},
    {hotKeyKey, false, takeHotKey},
    {excludedKey, false, takeExcluded},
    {"language", false, takeLanguage},
    {"directPasteModifiers", false, takeDirectPasteModifiers},
}};

class SettingsHandler : public NestingJsonHandler {
 public:
  bool onKey(std::string_view key) override {
    if (depth_ == inSettings) {
      settings_.onKey(key);
      key_.assign(key);
    } else if (depth_ == inField && settings_.currentKey() == hotKeyKey) {
      hotKey_.onKey(key);
    }
    return isUtf8(key) || fail("a key is not valid UTF-8");
  }

  bool onClose() override {
    --depth_;
    if (depth_ == inSettings && settings_.currentKey() == hotKeyKey) finishHotKey();
    if (depth_ != outside) return true;
    auto problem = settings_.firstProblem();
    return !problem || fail(std::move(*problem));
  }

  std::string place() const override {
    return depth_ == outside || key_.empty() ? "the settings" : quotedKey(key_);
  }

  DecodingResult<AppSettings> result(JsonReading reading) {
    if (auto error = errorOf(reading)) return *std::move(error);
    const AppSettings& read = settings_.draft;
    return AppSettings(read.maxRecords, read.pasteMode, read.hotKey, read.excludedBundleIds,
                       read.language, read.directPasteModifiers);
  }

 private:
  enum Depth : std::size_t { outside, inSettings, inField };

  bool take(const JsonValue& value) override {
    switch (depth_) {
      case outside:
        return value.kind == Kind::object || fail("the settings are not an object");
      case inSettings:
        if (!settings_.onValue(value)) break;
        hotKey_.begin();
        excludedCount_ = 0;
        return true;
      case inField:
        if (takeNested(value)) return true;
        break;
    }
    return isUtf8(value.text) || fail(place() + " is not valid UTF-8");
  }

  // A value directly inside that of a field; false when it means nothing there.
  bool takeNested(const JsonValue& value) {
    if (settings_.currentKey() == hotKeyKey) return hotKey_.onValue(value);
    if (settings_.currentKey() != excludedKey) return false;
    addExcluded(value);
    return true;
  }

  void addExcluded(const JsonValue& value) {
    const std::size_t index = excludedCount_++;
    if (value.kind != Kind::string) {
      settings_.addProblem(fmt::format("holds no string at index {}", index));
    } else if (!isUtf8(value.text)) {
      settings_.addProblem(fmt::format("is not valid UTF-8 at index {}", index));
    } else {
      settings_.draft.excludedBundleIds.emplace(value.text);
    }
  }

  void finishHotKey() {
    if (auto problem = hotKey_.firstProblem()) {
      settings_.addProblem("is incomplete: " + *problem);
    }
    settings_.draft.hotKey = {hotKey_.draft.keyCode, hotKey_.draft.modifiers};
  }

  JsonRecord<AppSettings, settingsFields.size()> settings_{settingsFields};
  JsonRecord<HotKeyDraft, hotKeyFields.size()> hotKey_{hotKeyFields};
  std::size_t excludedCount_ = 0;
};

}  // namespace

bool encodeJson(const AppSettings& settings, const JsonSink& sink) {
  JsonWriter writer(sink);
  writer.raw(fmt::format(R"({{"maxRecords":{},"pasteMode":"{}","hotKey":{{"keyCode":{},)"
                         R"("modifiers":{}}},"excludedBundleIds":)",
                         settings.maxRecords, rawValue(settings.pasteMode), settings.hotKey.keyCode,
                         settings.hotKey.modifiers));
  std::string_view before = "[";
  for (const std::string& bundleId : settings.excludedBundleIds) {
    writer.raw(before);
    // An id that is not UTF-8 must not make the whole file unreadable.
    writer.string(Text(bundleId).view());
    before = ",";
  }
  writer.raw(settings.excludedBundleIds.empty() ? "[]" : "]");
  writer.raw(fmt::format(R"(,"language":"{}","directPasteModifiers":{}}})", id(settings.language),
                         settings.directPasteModifiers));
  return writer.finish();
}

DecodingResult<AppSettings> decodeSettings(const JsonSource& source) {
  SettingsHandler handler;
  return handler.result(readJson(source, handler));
}

DecodingResult<AppSettings> decodeSettings(std::string_view json) {
  return decodeSettings([&] { return std::exchange(json, {}); });
}

}  // namespace stowboard
