// Points and rectangles: 16-bit wrap-around, inclusive corners, and the
// corner one inside the far corner that contains() tests.
#include <gtest/gtest.h>

#include "urect.h"

TEST(URect, SizesCornersAndMovesWrapModulo65536)
{
    UPoint p(10, 0);
    p.moveBy(65535, 65535); // one left, one up
    EXPECT_EQ(p, UPoint(9, 65535));
    // Sizes count pixels; getWidth/getHeight measure the distance, and a
    // zero size or reversed corners wrap.
    EXPECT_EQ(URect(0, 0, 10, 5).getHeight(), 4);
    EXPECT_EQ(URect(UPoint(3, 4), 2, 3).getP2(), UPoint(4, 6));
    EXPECT_EQ(URect(UPoint(7, 8), UPoint(1, 2)).getWidth(), 65530);
    EXPECT_EQ(URect(5, 5, 0, 0).getP2(), UPoint(4, 4));
    EXPECT_EQ(URect(65535, 65534, 3, 4).getP2(), UPoint(1, 1));
    URect t(0, 10, 4, 4);
    t.translate(65535, 0); // one column to the left
    EXPECT_EQ(t, URect(UPoint(65535, 10), UPoint(2, 13)));

    const URect r(10, 20, 5, 3); // columns 10..14, rows 20..22: every edge is inside
    EXPECT_TRUE(r.isInside(10, 20) && r.isInside(14, 22));
    EXPECT_FALSE(r.isInside(9, 20) || r.isInside(15, 22) || r.isInside(10, 19) || r.isInside(14, 23));

    const URect c(0, 0, 10, 10);
    EXPECT_TRUE(c.contains(URect(5, 5, 6, 6))); // far corner (10,10), tested at (9,9)
    EXPECT_FALSE(URect(3, 3, 1, 1).contains(URect(3, 3, 1, 1)));
    EXPECT_FALSE(c.contains(URect(0, 0, 1, 1))); // the tested corner wraps to (65535, 65535)
}
