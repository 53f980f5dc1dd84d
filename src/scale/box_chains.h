// Division chains of the box shrink: for a box of T = r * c samples, the sum
// is multiplied by a truncated binary expansion of 2^e / T (the gaps between
// its set bits) and shifted down by e. The result is at most 3 below the
// exact floor of the mean; six products have lists that depend on the rows,
// the columns and the family, and those are kept as they stand.
#pragma once

#include <cstdint>

namespace tarn {

// A family of box kernels by its pixel sizes: source bytes, then target bytes.
enum class BoxFamily : uint8_t { Bytes33, Bytes34, Bytes43, Bytes44 };

struct BoxChain {
    uint8_t preShift;    // 1 when 128 < T < 256: the sum is halved first
    uint8_t finalShift;  // e, or e - 1 after the pre-shift
    uint8_t count;
    uint8_t k[7];
};

namespace box_detail {

struct ListText {
    uint16_t t;
    const char* gaps;
};

// Regular lists by product; the irregular six are settled in ChainFor.
inline constexpr ListText kLists[] = {
    {1, ""}, {2, ""}, {3, "222222"}, {4, ""}, {5, "131313"}, {6, "222222"}, {7, "3333"}, {8, ""},
    {9, "11411"}, {10, "13131"}, {11, "21124"}, {12, "22222"}, {13, "31121"}, {14, "333"},
    {15, "44"}, {16, ""}, {18, "11411"}, {20, "13131"}, {21, "151"}, {22, "21124"},
    {24, "22222"}, {25, "24111"}, {26, "31121"}, {27, "321112"}, {28, "333"}, {30, "44"},
    {32, ""}, {33, "1111"}, {36, "11411"}, {40, "13131"}, {42, "151"}, {44, "2112"},
    {45, "2121"}, {48, "2222"}, {49, "2311"}, {50, "24111"}, {52, "31121"}, {54, "32111"},
    {55, "3231"}, {60, "44"}, {63, "6"}, {64, ""}, {65, "11111"}, {66, "1111"}, {72, "11411"},
    {75, "1212"}, {77, "1223"}, {78, "123"}, {80, "1313"}, {81, "132"}, {84, "151"},
    {88, "2112"}, {90, "2121"}, {91, "212"}, {96, "2222"}, {98, "2311"}, {99, "232"},
    {100, "2411"}, {104, "31121"}, {105, "311"}, {108, "32111"}, {110, "323"}, {117, "41"},
    {120, "44"}, {121, "511"}, {126, "6"}, {128, ""}, {130, "11111"}, {132, "1111"},
    {135, "1113"}, {140, "1122"}, {143, "1132"}, {144, "1141"}, {150, "1212"}, {154, "122"},
    {156, "123"}, {160, "131"}, {165, "141"}, {168, "151"}, {169, "16"}, {176, "2112"},
    {180, "2121"}, {182, "212"}, {195, "22"}, {196, "2311"}, {208, "3112"}, {210, "311"},
    {224, "33"}, {225, "34"}, {240, "4"}, {256, ""},
};

constexpr const char* RegularGaps(uint32_t t) {
    for (const ListText& l : kLists)
        if (l.t == t) return l.gaps;
    return nullptr;
}

constexpr const char* IrregularGaps(BoxFamily f, uint32_t r, uint32_t c) {
    switch (r * c) {
        case 35: return r == 5 ? "1121" : "1122";
        case 39: return (r == 3 && f != BoxFamily::Bytes43) ? "12" : "123";
        case 56: return (r == 7 && c == 8 && f == BoxFamily::Bytes33) ? "33" : "333";
        case 70: return (r == 7 && c == 10) ? "1121" : "1122";
        case 112: return (r == 14 && c == 8) ? "333" : "33";
        case 192: return (r == 12 && c == 16 && f != BoxFamily::Bytes44) ? "2222" : "222";
        default: return RegularGaps(r * c);
    }
}

}  // namespace box_detail

constexpr BoxChain ChainFor(BoxFamily f, uint32_t r, uint32_t c) {
    const uint32_t t = r * c;
    uint8_t e = 0;
    while ((1u << e) < t) ++e;
    BoxChain ch{};
    ch.preShift = (t > 128 && t < 256) ? 1 : 0;
    ch.finalShift = static_cast<uint8_t>(e - ch.preShift);
    const char* gaps = box_detail::IrregularGaps(f, r, c);
    if (!gaps) {
        ch.count = 0xFF;  // no list: flags a product the table lacks
        return ch;
    }
    for (; gaps[ch.count]; ++ch.count) ch.k[ch.count] = static_cast<uint8_t>(gaps[ch.count] - '0');
    return ch;
}

// Every chain, worked out once while compiling, for the row kernels that
// pick theirs at run time.
struct BoxChainTable {
    BoxChain chain[4][17][17];
};

constexpr BoxChainTable MakeBoxChainTable() {
    BoxChainTable t{};
    for (int f = 0; f < 4; ++f)
        for (uint32_t r = 1; r <= 16; ++r)
            for (uint32_t c = 1; c <= 16; ++c) t.chain[f][r][c] = ChainFor(static_cast<BoxFamily>(f), r, c);
    return t;
}

inline constexpr BoxChainTable kBoxChains = MakeBoxChainTable();

// r and c in 1..16.
inline const BoxChain& ChainOf(BoxFamily f, uint32_t r, uint32_t c) {
    return kBoxChains.chain[static_cast<int>(f)][r][c];
}

}  // namespace tarn
