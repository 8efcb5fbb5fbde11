// Points and rectangles: 16-bit wrap-around, inclusive corners and the
// width/height asymmetry.
#include <gtest/gtest.h>

#include "upoint.h"
#include "urect.h"

TEST(URect, CornersAndMovesWrapModulo65536)
{
    UPoint p(10, 0);
    p.moveBy(65535, 65535); // one left, one up
    EXPECT_EQ(p, UPoint(9, 65535));

    // Sizes count pixels; getWidth/getHeight measure the distance.
    const URect r(0, 0, 10, 5);
    EXPECT_EQ(r.getP2(), UPoint(9, 4));
    EXPECT_EQ(r.getWidth(), 9);
    EXPECT_EQ(r.getHeight(), 4);
    EXPECT_EQ(URect(UPoint(3, 4), 2, 3).getP2(), UPoint(4, 6));
    // Corners are kept as given, so the width wraps.
    EXPECT_EQ(URect(UPoint(7, 8), UPoint(1, 2)).getWidth(), 65530);
    // A zero size puts the far corner one up and left.
    const URect empty(5, 5, 0, 0);
    EXPECT_EQ(empty.getP2(), UPoint(4, 4));
    EXPECT_EQ(empty.getWidth(), 65535);
    // Near the top of the range the far corner wraps past 65535.
    const URect edge(65535, 65534, 3, 4);
    EXPECT_EQ(edge.getP2(), UPoint(1, 1));
    EXPECT_EQ(edge.getHeight(), 3);

    URect t(0, 10, 4, 4);
    t.translate(65535, 0); // one column to the left
    EXPECT_EQ(t.getP1(), UPoint(65535, 10));
    EXPECT_EQ(t.getP2(), UPoint(2, 13));
    t.translate(1, 65526);
    EXPECT_EQ(t, URect(0, 0, 4, 4));
}

TEST(URect, IsInsideIncludesAllEdges)
{
    const URect r(10, 20, 5, 3); // columns 10..14, rows 20..22
    const struct { unsigned short x, y; bool in; } points[] = {
        {10, 20, true},  {14, 22, true},  {10, 22, true}, {14, 20, true}, {12, 21, true},
        {9, 20, false},  {15, 22, false}, {10, 19, false}, {14, 23, false},
    };
    for (const auto& p : points)
        EXPECT_EQ(r.isInside(p.x, p.y), p.in) << p.x << "," << p.y;
    // Reversed corners hold nothing.
    EXPECT_FALSE(URect(5, 5, 0, 0).isInside(4, 4));
    EXPECT_FALSE(URect(5, 5, 0, 0).isInside(5, 5));
}

TEST(URect, ContainsTestsTheCornerOneInsideTheFarCorner)
{
    const URect r(0, 0, 10, 10); // (0,0)-(9,9)
    EXPECT_TRUE(r.contains(URect(5, 5, 6, 6))); // far corner (10,10), tested at (9,9)
    EXPECT_FALSE(r.contains(URect(5, 5, 7, 6)));
    EXPECT_TRUE(r.contains(r));
    // A one-pixel rectangle's second test point is one up and left of it.
    EXPECT_FALSE(URect(3, 3, 1, 1).contains(URect(3, 3, 1, 1)));
    EXPECT_TRUE(URect(2, 2, 2, 2).contains(URect(3, 3, 1, 1)));
    // At (0, 0) that point wraps to (65535, 65535).
    EXPECT_FALSE(r.contains(URect(0, 0, 1, 1)));
    EXPECT_FALSE(r.contains(URect(12, 0, 2, 2)));
}
