// Linked into the example phone's phonelets for the VM test: before main()
// creates the screen, the hardware model (and with it the emulated screen
// geometry) comes from UTK_VM_MODEL, as on the phone it comes from the
// hardware. Unset leaves the platform's default.
#include <cstdlib>

#include "syshardwareversion.h"

namespace {

struct ModelFromEnvironment {
    ModelFromEnvironment()
    {
        const char* model = std::getenv("UTK_VM_MODEL");
        if (model && *model)
            SysHardwareVersion::setModel(std::atoi(model));
    }
};
const ModelFromEnvironment s_model;

} // namespace
