#include <gtest/gtest.h>

#include "support/ComTestSupport.h"
#include "values/VariantArray.h"

namespace {

TEST(VariantArray, CreateCopiesDataWithTheLowerBound) {
    const long data[] = {7, 8, 9};
    values::VariantArray array;
    ASSERT_EQ(S_OK, array.Create(VT_I4, 3, data, 5));
    EXPECT_EQ(VT_ARRAY | VT_I4, array.get().vt);
    LONG lower = 0;
    ASSERT_EQ(S_OK, ::SafeArrayGetLBound(array.Array(), 1, &lower));
    EXPECT_EQ(5, lower);
    long element = 0;
    EXPECT_TRUE(array.GetElement(6, &element));
    EXPECT_EQ(8, element);
    EXPECT_FALSE(array.GetElement(8, &element));
}

TEST(VariantArray, PutRedimAndDetach) {
    values::VariantArray array;
    ASSERT_EQ(S_OK, array.Create(VT_VARIANT, 4));
    auto text = qnps_test::VariantOf(L"x");
    EXPECT_TRUE(array.PutElement(0, &text.get()));
    EXPECT_FALSE(array.PutElement(4, &text.get()));
    EXPECT_EQ(S_OK, array.Redim(1));
    VARIANT out;
    array.Detach(&out);
    EXPECT_EQ(VT_EMPTY, array.get().vt);
    EXPECT_EQ(L"x", qnps_test::ArrayText(out));
    // Detach followed by Init leaves nothing to free twice.
    array.Init();
    ::VariantClear(&out);
}

TEST(VariantArray, CreateMultiHasOneBoundPerDimension) {
    const ULONG counts[] = {2, 3};
    values::VariantArray array;
    ASSERT_EQ(S_OK, array.CreateMulti(VT_I2, 2, counts));
    EXPECT_EQ(2u, ::SafeArrayGetDim(array.Array()));
}

}  // namespace
