#include "support/captured_stderr.h"

#include <emantle/frame/emsc/heap.h>
#include <emantle/frame/emsc/memory.h>

#include <algorithm>
#include <cstdint>
#include <gtest/gtest.h>
#include <numeric>
#include <string>
#include <vector>

using Bytes = std::vector<std::uint8_t>;

TEST(Memory, SwabReversesWholeItemsOnly)
{
    for (const long size : {2L, 4L, 8L}) {
        Bytes bytes(static_cast<std::size_t>(size) * 3 + 1);
        std::iota(bytes.begin(), bytes.end(), std::uint8_t{0});
        emsc_MemSwab(bytes.data(), 3, size);
        for (std::size_t at = 0; at + 1 < bytes.size(); ++at) {
            const std::size_t item = at / static_cast<std::size_t>(size) * static_cast<std::size_t>(size);
            EXPECT_EQ(bytes[at], item + static_cast<std::size_t>(size) - 1 - (at - item)) << size << ' ' << at;
        }
        EXPECT_EQ(bytes.back(), bytes.size() - 1);
    }
}

TEST(Memory, SwabOfOtherSizesCountsItsFarEndFromTheCount)
{
    Bytes bytes = {0, 1, 2, 3, 4, 5};
    emsc_MemSwab(bytes.data(), 1, 6);
    EXPECT_EQ(bytes, (Bytes{0, 1, 2, 3, 4, 5})) << "0 with 0; what lies before the buffer is left alone";
    bytes = {0, 1, 2, 3, 4, 5};
    emsc_MemSwab(bytes.data(), 2, 3);
    EXPECT_EQ(bytes, (Bytes{1, 0, 3, 2, 4, 5}));
    bytes.assign(30, 0);
    emsc_MemSwab(bytes.data(), 10, 3);
    emsc_MemSwab(nullptr, 2, 3);
}

/* All bit sizes, and counts that do not fill the last byte, against one bit at a time. */
TEST(Memory, RepackAgreesWithSingleBits)
{
    const Bytes packed = {0xA7, 0x1C, 0xF3, 0x68};
    for (const long unit : {1L, 2L, 4L}) {
        for (long count = 0; count <= 32 / unit; ++count) {
            Bytes expected;
            for (long item = 0; item < count; ++item) {
                int value = 0;
                for (long bit = item * unit; bit < (item + 1) * unit; ++bit) {
                    value = value * 2 + (packed[static_cast<std::size_t>(bit / 8)] >> (7 - bit % 8) & 1);
                }
                expected.push_back(static_cast<std::uint8_t>(value));
            }
            Bytes items(static_cast<std::size_t>(count) + 1, 0xEE);
            EXPECT_FALSE(emsc_MemRepack(items.data(), 8, 8, packed.data(), unit, 8, count));
            EXPECT_EQ(items.back(), 0xEE);
            items.pop_back();
            EXPECT_EQ(items, expected) << unit << ' ' << count;

            for (std::uint8_t& item : items) {
                item = static_cast<std::uint8_t>(item | (unit == 4 ? 0xF0 : 0x10));
            }
            items.push_back(0);
            const std::size_t whole = static_cast<std::size_t>(count * unit / 8);
            Bytes again(whole + 2, 0xEE);
            EXPECT_FALSE(emsc_MemRepack(again.data(), unit, 8, items.data(), 8, 8, count));
            EXPECT_TRUE(std::equal(again.begin(), again.begin() + static_cast<long>(whole), packed.begin()));
            if (count * unit % 8 != 0) {
                EXPECT_EQ(again[whole], packed[whole] & (0xFF00 >> (count * unit % 8) & 0xFF)) << unit << ' ' << count;
            }
            EXPECT_EQ(again[whole + (count * unit % 8 != 0 ? 1 : 0)], 0xEE);
        }
    }
}

TEST(Memory, RepackRefusesWhatItDoesNotKnow)
{
    std::uint8_t byte = 7;
    const auto told = [&](void* dst, long dstUnit, long dstPackage, long srcUnit) {
        return stderrOf([&] { EXPECT_TRUE(emsc_MemRepack(dst, dstUnit, dstPackage, &byte, srcUnit, 8, 1)); });
    };
    EXPECT_NE(told(nullptr, 8, 8, 1).find(">>>Args<<<"), std::string::npos);
    EXPECT_NE(told(&byte, 9, 8, 1).find(">>>Args<<<"), std::string::npos);
    const std::string unknown = ">>>Unit or package size params not yet supported<<<";
    EXPECT_NE(told(&byte, 8, 8, 8).find(unknown), std::string::npos);
    EXPECT_NE(told(&byte, 8, 16, 1).find(unknown), std::string::npos);
    EXPECT_NE(told(&byte, 3, 8, 8).find(unknown), std::string::npos);
    EXPECT_EQ(byte, 7);
}
