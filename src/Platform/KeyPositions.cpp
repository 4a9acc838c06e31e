#include "Platform/KeyPositions.h"

#include <algorithm>
#include <array>

namespace stowboard {

namespace {

struct KeyPosition {
  std::uint32_t virtualKeyCode;
  std::uint8_t keyCode;
};

// Virtual key codes number the positions of an ANSI keyboard in a historic order; XKB's are those
// of linux/input-event-codes.h plus 8.
// clang-format off
constexpr std::array positions = std::to_array<KeyPosition>({
    // The digit row.
    {50, 49}, {18, 10}, {19, 11}, {20, 12}, {21, 13}, {23, 14}, {22, 15}, {26, 16}, {28, 17},
    {25, 18}, {29, 19}, {27, 20}, {24, 21}, {51, 22},
    // The row of Q.
    {48, 23}, {12, 24}, {13, 25}, {14, 26}, {15, 27}, {17, 28}, {16, 29}, {32, 30}, {34, 31},
    {31, 32}, {35, 33}, {33, 34}, {30, 35}, {42, 51},
    // The row of A.
    {0, 38}, {1, 39}, {2, 40}, {3, 41}, {5, 42}, {4, 43}, {38, 44}, {40, 45}, {37, 46}, {41, 47},
    {39, 48}, {36, 36},
    // The row of Z; 10 is the key beside the left Shift of ISO keyboards.
    {10, 94}, {6, 52}, {7, 53}, {8, 54}, {9, 55}, {11, 56}, {45, 57}, {46, 58}, {43, 59},
    {47, 60}, {44, 61}, {49, 65},
    // Modifiers.
    {53, 9}, {54, 134}, {55, 133}, {56, 50}, {57, 66}, {58, 64}, {59, 37}, {60, 62}, {61, 108},
    {62, 105},
    // Functions.
    {122, 67}, {120, 68}, {99, 69}, {118, 70}, {96, 71}, {97, 72}, {98, 73}, {100, 74}, {101, 75},
    {109, 76}, {103, 95}, {111, 96}, {105, 191}, {107, 192}, {113, 193}, {106, 194}, {64, 195},
    {79, 196}, {80, 197}, {90, 198},
    // Moving about.
    {114, 118}, {115, 110}, {116, 112}, {117, 119}, {119, 115}, {121, 117}, {123, 113},
    {124, 114}, {125, 116}, {126, 111},
    // The keypad.
    {65, 91}, {67, 63}, {69, 86}, {71, 77}, {75, 106}, {76, 104}, {78, 82}, {81, 125}, {82, 90},
    {83, 87}, {84, 88}, {85, 89}, {86, 83}, {87, 84}, {88, 85}, {89, 79}, {91, 80}, {92, 81},
});
// clang-format on

}  // namespace

std::optional<std::uint8_t> xkbKeyCode(std::uint32_t virtualKeyCode) {
  const auto* found = std::ranges::find(positions, virtualKeyCode, &KeyPosition::virtualKeyCode);
  return found == positions.end() ? std::nullopt : std::optional(found->keyCode);
}

}  // namespace stowboard
