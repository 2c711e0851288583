// The reduction tables of the index levels.
#include "image/reduction.h"

#include <array>

namespace {

template <int N>
constexpr std::array<unsigned char, 256> makeTable() {
  std::array<unsigned char, 256> t{};
  for (int v = 0; v < 256; ++v) t[v] = static_cast<unsigned char>(v * N / 256);
  return t;
}

constexpr auto kLevels3 = makeTable<3>();
constexpr auto kLevels4 = makeTable<4>();
constexpr auto kLevels5 = makeTable<5>();
constexpr auto kLevels6 = makeTable<6>();
constexpr auto kLevels16 = makeTable<16>();

}  // namespace

const unsigned char* reductionTable(int levels) {
  switch (levels) {
    case 3:
      return kLevels3.data();
    case 4:
      return kLevels4.data();
    case 5:
      return kLevels5.data();
    case 6:
      return kLevels6.data();
    case 16:
      return kLevels16.data();
    default:
      return nullptr;
  }
}
