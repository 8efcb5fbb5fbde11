// Points and rectangles: 16-bit wrap-around, inclusive corners, the
// width/height asymmetry and the exact printed lines.
#include <gtest/gtest.h>

#include "upoint.h"
#include "urect.h"

TEST(UPoint, MoveByWrapsModulo65536)
{
    UPoint p(10, 0);
    p.moveBy(65535, 65535); // one left, one up
    EXPECT_EQ(p.getX(), 9);
    EXPECT_EQ(p.getY(), 65535);
    p.moveBy(UPoint(1, 2));
    EXPECT_EQ(p.getX(), 10);
    EXPECT_EQ(p.getY(), 1);
    EXPECT_EQ(UPoint().getX(), 0);
    EXPECT_EQ(UPoint().getY(), 0);
}

TEST(URect, ConstructorsCountPixelsWhileGettersMeasureDistance)
{
    const URect r(0, 0, 10, 5);
    EXPECT_EQ(r.getRight(), 9);
    EXPECT_EQ(r.getBottom(), 4);
    EXPECT_EQ(r.getWidth(), 9);
    EXPECT_EQ(r.getHeight(), 4);

    const URect one(10, 20, 1, 1);
    EXPECT_EQ(one.getP1(), UPoint(10, 20));
    EXPECT_EQ(one.getP2(), UPoint(10, 20));
    EXPECT_EQ(one.getWidth(), 0);

    const URect fromPoint(UPoint(3, 4), 2, 3);
    EXPECT_EQ(fromPoint.getP2(), UPoint(4, 6));

    const URect corners(UPoint(7, 8), UPoint(1, 2)); // kept as given
    EXPECT_EQ(corners.getLeft(), 7);
    EXPECT_EQ(corners.getRight(), 1);
    EXPECT_EQ(corners.getWidth(), 65530);
    EXPECT_EQ(URect().getP2(), UPoint(0, 0));
}

TEST(URect, ZeroSizeReversesCornersAndWraps)
{
    const URect r(5, 5, 0, 0);
    EXPECT_EQ(r.getP2(), UPoint(4, 4));
    EXPECT_EQ(r.getWidth(), 65535);
    EXPECT_EQ(r.getHeight(), 65535);

    // Near the top of the range the far corner wraps past 65535.
    const URect edge(65535, 65534, 3, 4);
    EXPECT_EQ(edge.getP2(), UPoint(1, 1));
    EXPECT_EQ(edge.getWidth(), 2);
    EXPECT_EQ(edge.getHeight(), 3);
}

TEST(URect, TranslateWrapsBothCorners)
{
    URect r(0, 10, 4, 4);
    r.translate(65535, 0); // one column to the left
    EXPECT_EQ(r.getP1(), UPoint(65535, 10));
    EXPECT_EQ(r.getP2(), UPoint(2, 13));
    r.translate(1, 65526);
    EXPECT_EQ(r, URect(0, 0, 4, 4));
}

TEST(URect, IsInsideIncludesAllEdges)
{
    const URect r(10, 20, 5, 3); // columns 10..14, rows 20..22
    for (unsigned short x = 10; x <= 14; ++x) {
        EXPECT_TRUE(r.isInside(x, 20));
        EXPECT_TRUE(r.isInside(x, 22));
        EXPECT_FALSE(r.isInside(x, 19));
        EXPECT_FALSE(r.isInside(x, 23));
    }
    for (unsigned short y = 20; y <= 22; ++y) {
        EXPECT_TRUE(r.isInside(10, y));
        EXPECT_TRUE(r.isInside(14, y));
        EXPECT_FALSE(r.isInside(9, y));
        EXPECT_FALSE(r.isInside(15, y));
    }
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
    EXPECT_TRUE(URect(3, 3, 2, 2).contains(URect(3, 3, 2, 2)));
    // A one-pixel rectangle's second test point is one up and left of it.
    EXPECT_FALSE(URect(3, 3, 1, 1).contains(URect(3, 3, 1, 1)));
    EXPECT_TRUE(URect(2, 2, 2, 2).contains(URect(3, 3, 1, 1)));
    // At (0, 0) that point wraps to (65535, 65535).
    EXPECT_FALSE(r.contains(URect(0, 0, 1, 1)));
    EXPECT_FALSE(r.contains(URect(12, 0, 2, 2)));
}

TEST(URect, PrintsItsLinesWordForWord)
{
    testing::internal::CaptureStdout();
    URect().print();
    URect(3, 4, 10, 5).print();
    URect(5, 5, 0, 0).print();
    URect(1, 2, 3, 4).printCoordinates();
    URect(1, 2, 3, 4).printCoordinates("label");
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "URect: left = 0, top = 0, width = 0, height = 0 \n"
              "URect: left = 3, top = 4, width = 9, height = 4 \n"
              "URect: left = 5, top = 5, width = 65535, height = 65535 \n"
              "Coordinates: left = 1, right = 3, top = 2, bottom = 5 \n"
              "label Coordinates: left = 1, right = 3, top = 2, bottom = 5 \n");
}
