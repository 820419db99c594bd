// The bundle's one exported symbol.

#include "KivaQTInterface.h"

extern "C" __attribute__((visibility("default"))) int KivaInterface(int selector, void* handle,
                                                                    void* record) {
  kiva::KivaQTInterface kivaInterface;
  return kivaInterface.EntryPoint(selector, handle, record);
}
