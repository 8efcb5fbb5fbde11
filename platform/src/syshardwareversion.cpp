#include "syshardwareversion.h"

#include <atomic>

namespace {
std::atomic<int> g_model{SysHardwareVersion::MODEL_DEFAULT};
}

int SysHardwareVersion::getModel() { return g_model.load(); }

bool SysHardwareVersion::isTR480() { return g_model.load() == MODEL_TR480; }

void SysHardwareVersion::setModel(int model) { g_model.store(model); }
