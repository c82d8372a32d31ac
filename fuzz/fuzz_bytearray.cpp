// Drives a CKrByteArray through SetData / SetCurrentOffset / GetData / SetSize / FreeData
// sequences taken from the input and checks every result against a simple model (a
// std::vector for the bytes plus the allocated size): result codes, sizes, growth rules and the
// bytes themselves.  Also keeps size <= allocated and the offset within the block.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "types/CKrByteArray.h"

namespace {

struct Reader {
    const uint8_t *p;
    size_t n;
    uint8_t byte() { return n ? (--n, *p++) : 0; }
    // Mostly small sizes; sometimes sizes near the top of size_t (which no block can have) or
    // powers of two up to 1 MiB.  Representable giant sizes are left out: a fuzzer treats a
    // genuine attempt to allocate terabytes as an out-of-memory crash.
    size_t number() {
        uint8_t const kind = byte();
        if (kind < 200) return byte() | (size_t(byte() & 0x0F) << 8);
        if (kind < 230) return SIZE_MAX - byte();
        return size_t(1) << (byte() % 21);
    }
};

void check(bool ok) {
    if (!ok) __builtin_trap();
}

constexpr int kUnknown = -1;  // a byte exposed by GetData / SetSize growth: content unspecified

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    Reader in{data, size};
    size_t const increment = in.byte() % 64;
    CKrByteArray a(increment);
    size_t modelInc = increment ? increment : 1;  // SetData treats 0 as 1
    std::vector<int> model;
    size_t allocated = 0;
    static uint8_t source[4096];
    for (size_t i = 0; i < sizeof source; ++i) source[i] = static_cast<uint8_t>(i * 31 + 7);

    for (int step = 0; step < 64 && in.n; ++step) {
        switch (in.byte() % 6) {
            case 0: {  // SetData
                uint8_t const flags = in.byte();
                auto const op = static_cast<CKrByteArray::EKrByteArrayModeOp>(flags & 3);
                auto const mode =
                    static_cast<CKrByteArray::EKrByteArrayModeAlloc>((flags >> 2) & 3);
                bool const withData = (flags & 0x10) == 0;
                bool const growing = mode != CKrByteArray::ModeAllocFixed;
                size_t len = in.number();
                // Real data never exceed the source, except impossible sizes that must be refused
                // before anything is read.
                if (withData && len > sizeof source && !(growing && len > size_t(PTRDIFF_MAX)))
                    len %= sizeof source + 1;
                size_t const base = (op == CKrByteArray::ModeOpAppend) ? model.size() : 0;

                size_t expectAlloc = allocated;
                bool impossible = false;
                if (len > allocated - base && growing) {
                    __uint128_t want;
                    if (mode == CKrByteArray::ModeAllocIncrement) {
                        __uint128_t const k = __uint128_t(len - (allocated - base)) / modelInc + 1;
                        want = allocated + k * modelInc;
                    } else {
                        want = __uint128_t(base) + len;
                    }
                    impossible = want > PTRDIFF_MAX;
                    if (!impossible) expectAlloc = size_t(want);
                }
                int const r = a.SetData(withData ? source : nullptr, len, op, mode);
                if (impossible) {
                    check(r == -3);
                    break;
                }
                check(a.GetAllocated() == expectAlloc);
                allocated = expectAlloc;
                if (!withData) {
                    check(r == 0);
                    break;
                }
                size_t const n = len < allocated - base ? len : allocated - base;
                if (n > 0) {  // nothing copied: the size stays as it was, even when replacing
                    model.resize(base);
                    model.insert(model.end(), source, source + n);
                }
                check(r == (n < len ? (n ? -8 : -9) : 0));
                break;
            }
            case 1: {
                size_t const off = in.number();
                check(a.SetCurrentOffset(off) == (off > allocated ? -4 : 0));
                break;
            }
            case 2: {
                size_t const n = in.number();
                check(a.GetData(n) == a.GetData());
                if (n != 0 && n <= allocated) model.resize(n, kUnknown);
                break;
            }
            case 3: {
                size_t const n = in.number();
                a.SetSize(n);
                if (n <= allocated) model.resize(n, kUnknown);
                break;
            }
            case 4:
                a.FreeData();
                model.clear();
                allocated = 0;
                check(a.GetData() == nullptr && a.GetCurrentOffset() == 0);
                break;
            case 5: {
                CKrByteArray copy(a);
                check(copy == a && copy.GetAllocated() == a.GetSize());
                size_t const inc = in.byte();
                a.SetIncrement(inc);
                modelInc = inc ? inc : 1;
                break;
            }
        }
        check(a.GetSize() == model.size());
        check(a.GetAllocated() == allocated);
        check(a.GetCurrentOffset() <= a.GetAllocated());
        auto const *bytes = static_cast<uint8_t const *>(a.GetData());
        for (size_t i = 0; i < model.size(); ++i)
            if (model[i] != kUnknown) check(bytes[i] == model[i]);
    }
    return 0;
}
