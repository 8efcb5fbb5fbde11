// Shared fixture for graphics tests: a standalone application drawing on an
// in-memory screen, and the ink's bounding box.
#ifndef UTK_TESTS_GRAPHICS_FIXTURE_H
#define UTK_TESTS_GRAPHICS_FIXTURE_H

#include <array>
#include <string>

#include <gtest/gtest.h>

#include "memoryscreen.h"
#include "syshardwareversion.h"
#include "uapplication.h"
#include "ufontmanager.h"

inline std::string sourcePath(const std::string& rel)
{
    return std::string(UTK_SOURCE_DIR) + "/" + rel;
}

// {left, top, right, bottom} of some ink.
using Box = std::array<int, 4>;

class GraphicsTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        SysHardwareVersion::setModel(SysHardwareVersion::MODEL_DEFAULT);
        screen = new MemoryScreen();
        app = new UApplication("GraphicsTest", screen, UApplication::UIMode(0));
        // Whatever the application drew while starting is not the test's.
        screen->clear();
        screen->beginCalls = screen->endCalls = screen->flushCalls = 0;
    }
    void TearDown() override
    {
        delete app; // deletes the screen too
        SysHardwareVersion::setModel(SysHardwareVersion::MODEL_DEFAULT);
    }

    UFontManager* fonts() { return app->fontManager(); }

    // Bounding box of the ink on the screen, all -1 when it is blank.
    Box inkBox() const
    {
        Box b{-1, -1, -1, -1};
        for (int y = 0; y < screen->height(); ++y)
            for (int x = 0; x < screen->width(); ++x)
                if (screen->pixel(static_cast<unsigned short>(x), static_cast<unsigned short>(y)) == 0) {
                    if (b[0] < 0 || x < b[0]) b[0] = x;
                    if (b[1] < 0) b[1] = y;
                    if (x > b[2]) b[2] = x;
                    b[3] = y;
                }
        return b;
    }

    MemoryScreen* screen = nullptr;
    UApplication* app = nullptr;
};

#endif
