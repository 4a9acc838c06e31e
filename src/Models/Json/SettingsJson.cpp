// The settings file: one object.

#include <fmt/format.h>

#include <limits>
#include <utility>

#include "Base/Unicode/Text.h"
#include "Models/Json/JsonRecord.h"

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

std::string_view takeInteger(std::int64_t& target, const JsonValue& value) {
  if (value.kind != Kind::number) return "is not a number";
  const std::optional<std::int64_t> number = value.asInteger();
  if (!number) return "is not an integer of 64 bits";
  target = *number;
  return isFine;
}

template <typename Word>
std::string_view takeWord(Word& target, const JsonValue& value, const std::optional<Word>& word,
                          std::string_view problem) {
  if (value.kind != Kind::string) return "is not a string";
  if (!word) return problem;
  target = *word;
  return isFine;
}

std::string_view takePasteMode(PasteMode& target, const JsonValue& value) {
  return takeWord(target, value, pasteModeFromRawValue(value.text),
                  "is neither directPaste nor copyOnly");
}

std::string_view takeLanguage(AppLanguage& target, const JsonValue& value) {
  return takeWord(target, value, appLanguageFromId(value.text), "is neither en nor zh-Hans");
}

// What is inside comes value by value.
std::string_view openObject(HotKeyConfig& /*target*/, const JsonValue& value) {
  return value.kind == Kind::object ? isFine : "is not an object";
}

std::string_view openArray(std::set<std::string>& /*target*/, const JsonValue& value) {
  return value.kind == Kind::array ? isFine : "is not an array";
}

template <auto field, auto take>
constexpr auto taken =
    [](auto& draft, const JsonValue& value) { return take(draft.*field, value); };

// Every field of the settings takes its default for null, as for a missing key.
template <auto field, auto take>
constexpr auto optional = [](AppSettings& draft, const JsonValue& value) {
  draft.*field = AppSettings::defaults.*field;
  return value.kind == Kind::null ? isFine : take(draft.*field, value);
};

template <auto field>
constexpr auto number =
    [](JsonWriter& writer, const auto& record) { writer.raw(std::to_string(record.*field)); };

constexpr std::array<JsonField<HotKeyConfig>, 2> hotKeyFields{{
    {"keyCode", true, taken<&HotKeyConfig::keyCode, takeUnsigned>, number<&HotKeyConfig::keyCode>},
    {"modifiers", true, taken<&HotKeyConfig::modifiers, takeUnsigned>,
     number<&HotKeyConfig::modifiers>},
}};

void writeExcluded(JsonWriter& writer, const AppSettings& settings) {
  std::string_view before = "[";
  for (const std::string& bundleId : settings.excludedBundleIds) {
    writer.raw(before);
    // An id that is not UTF-8 must not make the whole file unreadable.
    writer.string(Text(bundleId).view());
    before = ",";
  }
  writer.raw(settings.excludedBundleIds.empty() ? "[]" : "]");
}

using Settings = AppSettings;

constexpr std::string_view hotKeyKey = "hotKey";
constexpr std::string_view excludedKey = "excludedBundleIds";

// In the order in which they are written.
constexpr std::array<JsonField<Settings>, 6> settingsFields{{
    {"maxRecords", false, optional<&Settings::maxRecords, takeInteger>,
     number<&Settings::maxRecords>},
    {"pasteMode", false, optional<&Settings::pasteMode, takePasteMode>,
     [](JsonWriter& writer, const Settings& settings) {
       writer.string(rawValue(settings.pasteMode));
     }},
    {hotKeyKey, false, optional<&Settings::hotKey, openObject>,
     [](JsonWriter& writer, const Settings& settings) {
       writeRecord(writer, hotKeyFields, settings.hotKey);
     }},
    {excludedKey, false, optional<&Settings::excludedBundleIds, openArray>, writeExcluded},
    {"language", false, optional<&Settings::language, takeLanguage>,
     [](JsonWriter& writer, const Settings& settings) { writer.string(id(settings.language)); }},
    {"directPasteModifiers", false, optional<&Settings::directPasteModifiers, takeUnsigned>,
     number<&Settings::directPasteModifiers>},
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
    settings_.draft.hotKey = hotKey_.draft;
  }

  JsonRecord<AppSettings, settingsFields.size()> settings_{settingsFields};
  JsonRecord<HotKeyConfig, hotKeyFields.size()> hotKey_{hotKeyFields};
  std::size_t excludedCount_ = 0;
};

}  // namespace

bool encodeJson(const AppSettings& settings, const JsonSink& sink) {
  JsonWriter writer(sink);
  writeRecord(writer, settingsFields, settings);
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
