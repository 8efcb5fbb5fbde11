// Stand-in for the phone platform's hardware identification.
#ifndef SYSHARDWAREVERSION_H
#define SYSHARDWAREVERSION_H

// On the phone the model code is read from the hardware. Here it comes
// from setModel(), which tests and the simulator call before the screen is
// created; until then it is MODEL_DEFAULT.
class SysHardwareVersion {
public:
    // Model codes known to the toolkit: 49 and 61 have a 162-pixel-wide
    // LCD, 62 (the TR480) a 199-pixel-wide one; every other code a
    // 192-pixel-wide one.
    static const int MODEL_49 = 49;
    static const int MODEL_61 = 61;
    static const int MODEL_TR480 = 62;
    static const int MODEL_DEFAULT = 0;

    static int getModel();
    static bool isTR480();
    static void setModel(int model);
};

#endif
