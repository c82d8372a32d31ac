// Global memory status from the kernel.
#include <sys/sysinfo.h>

#include "platform/KrPlatform.h"

extern "C" int KR_GetPhysMemory(kr_uint64 *total, kr_uint64 *available) {
    struct sysinfo info;
    if (::sysinfo(&info) != 0) {
        if (total) *total = 0;
        if (available) *available = 0;
        return -1;
    }
    const kr_uint64 unit = info.mem_unit ? info.mem_unit : 1;
    if (total) *total = static_cast<kr_uint64>(info.totalram) * unit;
    // Free plus reclaimable buffers: what Windows calls available physical memory.
    if (available) *available = (static_cast<kr_uint64>(info.freeram) + info.bufferram) * unit;
    return 0;
}
