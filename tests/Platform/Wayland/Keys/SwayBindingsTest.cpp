#include "Platform/Wayland/Keys/SwayBindings.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>

namespace stowboard {

void PrintTo(const SwayCombination& combination, std::ostream* stream) {
  for (const auto& modifier : combination.modifiers) *stream << modifier << '+';
  *stream << combination.key;
}

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::vector<SwayCombination> bindings(std::string_view text,
                                      const std::map<std::string, std::string>& files = {}) {
  return swayBindings(text, [&](const std::string& pattern) {
    const auto found = files.find(pattern);
    return found == files.end() ? std::vector<std::string>() : std::vector{found->second};
  });
}

const SwayCombination panel{{"MOD4", "SHIFT"}, "v"};

TEST(SwayBindings, ReadsEveryWayOfWritingACombination) {
  for (const auto* line : {"bindsym Mod4+Shift+v exec a", "bindsym Shift+Mod4+V exec a",
                           "  bindsym --to-code --locked super+SHIFT+v exec a",
                           "bindsym logo+Lock+shift+Mod2+v nop", "bindsym Group1+Mod4+Shift+v nop",
                           "bindsym \"Mod4+Shift+v\" exec a", "bindsym Mod4+Shift+v \\\n exec a",
                           "set $mod Mod4\nset $key $mod+Shift+v\nbindsym $key nop",
                           "bindsym --locked {\n Mod4+Shift+v exec a\n}"}) {
    EXPECT_THAT(bindings(line), ElementsAre(panel)) << line;
  }
  EXPECT_THAT(bindings("bindcode Mod1+Ctrl+55 nop"),
              ElementsAre(SwayCombination{{"CONTROL", "MOD1"}, "55"}));
}

TEST(SwayBindings, LeavesOutWhatIsNoBindingOfTheDefaultMode) {
  for (const auto* text :
       {"", "# bindsym Mod4+Shift+v exec a", "bindsym", "bindsym --release Mod4+Shift+v exec a",
        "exec echo bindsym Mod4+Shift+v", "mode \"resize\" {\n bindsym Mod4+Shift+v nop\n}",
        "bar {\n bindsym button1 nop\n colors {\n }\n}", "}\n}", "include $nothing", "set $a"}) {
    EXPECT_THAT(bindings(text), IsEmpty()) << text;
  }
  // What follows a block counts again.
  EXPECT_THAT(bindings("mode m {\n bindsym a nop\n}\nbindsym Mod4+Shift+v nop"),
              ElementsAre(panel));
}

TEST(SwayBindings, FollowsIncludesButNotForEver) {
  EXPECT_THAT(bindings("set $mod Mod4\ninclude keys/*", {{"keys/*", "bindsym $mod+Shift+v nop"}}),
              ElementsAre(panel));
  EXPECT_THAT(bindings("include self", {{"self", "include self"}}), IsEmpty());
}

}  // namespace
}  // namespace stowboard
