// Global memory status from the kernel, and paging hints.
#include <sys/mman.h>
#include <sys/sysinfo.h>
#include <unistd.h>

#include <cstdint>

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

extern "C" void KR_AdviseLargeWrite(void *address, size_t size) {
#ifdef MADV_HUGEPAGE
    constexpr size_t kHugePage = size_t{2} << 20;
    if (!address || size < kHugePage) return;
    long page = ::sysconf(_SC_PAGESIZE);
    if (page <= 0) return;
    const std::uintptr_t mask = static_cast<std::uintptr_t>(page) - 1;
    const std::uintptr_t begin = (reinterpret_cast<std::uintptr_t>(address) + mask) & ~mask;
    const std::uintptr_t end = (reinterpret_cast<std::uintptr_t>(address) + size) & ~mask;
    if (end <= begin) return;
    // A hint only: refused (no transparent huge pages, not anonymous memory) means no change.
    (void)::madvise(reinterpret_cast<void *>(begin), end - begin, MADV_HUGEPAGE);
#else
    (void)address;
    (void)size;
#endif
}
