#include "syshardwareversion.h"

#include <atomic>

namespace {
std::atomic<int> g_model{SysHardwareVersion::MODEL_DEFAULT};
}

int SysHardwareVersion::getModel() { return g_model.load(); }

bool SysHardwareVersion::isTR480() { return g_model.load() == MODEL_TR480; }

void SysHardwareVersion::setModel(int model) { g_model.store(model); }

// Out-of-line definitions, so the codes may be bound to references without
// an undefined symbol at link time.
const int SysHardwareVersion::MODEL_49;
const int SysHardwareVersion::MODEL_61;
const int SysHardwareVersion::MODEL_TR480;
const int SysHardwareVersion::MODEL_DEFAULT;
