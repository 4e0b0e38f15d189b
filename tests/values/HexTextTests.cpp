#include <gtest/gtest.h>

#include <cstring>

#include "support/ComTestSupport.h"
#include "values/HexText.h"

namespace {

using qnps_test::Text;

TEST(HexText, DoublesReadAsTheirBitPatternMostSignificantDigitFirst) {
    EXPECT_EQ(L"3FF0000000000000", Text(values::DoubleToHex(1.0).get()));
    EXPECT_EQ(L"3FE0000000000000", Text(values::DoubleToHex(0.5).get()));
    EXPECT_EQ(L"C004000000000000", Text(values::DoubleToHex(-2.5).get()));
}

TEST(HexText, RoundTripKeepsEveryBit) {
    const double samples[] = {0.0, -0.0, 1.0 / 3.0, 45292.604166666664, 1e-310, -1.7976931348623157e308};
    for (double sample : samples) {
        const double back = values::HexToDouble(values::DoubleToHex(sample).get());
        EXPECT_EQ(0, std::memcmp(&sample, &back, sizeof sample)) << sample;
    }
}

TEST(HexText, ShortOrNullTextGivesZeroBytesAndFalse) {
    BYTE bytes[8];
    std::memset(bytes, 0xAB, sizeof bytes);
    EXPECT_FALSE(values::HexToBytes(L"3FF000000000000", bytes, 8));  // 15 characters
    for (BYTE b : bytes) EXPECT_EQ(0, b);
    std::memset(bytes, 0xAB, sizeof bytes);
    EXPECT_FALSE(values::HexToBytes(nullptr, bytes, 8));
    for (BYTE b : bytes) EXPECT_EQ(0, b);
    EXPECT_EQ(0.0, values::HexToDouble(L"2.5"));
}

TEST(HexText, ZeroBytesGiveTheEmptyText) {
    EXPECT_EQ(L"", Text(values::BytesToHex(nullptr, 0).get()));
    EXPECT_TRUE(values::HexToBytes(L"", nullptr, 0));
}

TEST(HexText, ReadsOnlyTheFirstSixteenDigitsAndKeepsLowerCaseQuirk) {
    EXPECT_EQ(1.0, values::HexToDouble(L"3FF0000000000000FFFF"));
    // Lower-case digits are not recognised: 'f' counts as 'f' - 55, not 15, and is not refused.
    BYTE upper[1], lower[1];
    values::HexToBytes(L"AF", upper, 1);
    EXPECT_TRUE(values::HexToBytes(L"af", lower, 1));
    EXPECT_EQ(0xAF, upper[0]);
    EXPECT_NE(upper[0], lower[0]);
}

}  // namespace
