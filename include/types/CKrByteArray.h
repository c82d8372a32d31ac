// CKrByteArray: the library's growable, owned byte buffer.
//
// An array holds a block (allocated through CKrAlloc, alignment 16), a logical size, the size of
// the block ("allocated"), a growth increment and a current offset that callers use as a read or
// write cursor.  Every member except SetCurrentOffset keeps size <= allocated.  Members never
// throw; failures are reported as small negative integers:
//    0  success
//   -3  allocation failed (or the requested size cannot exist, see SetData)
//   -4  bad offset or pointer
//   -8  the data were cut short (only part of them fitted)
//   -9  nothing could be written
//
// The class is polymorphic and calls its own operations virtually, so a derived array can
// replace single steps.  It does not lock: one thread uses one array at a time.
#ifndef ORVIK_TYPES_CKRBYTEARRAY_H
#define ORVIK_TYPES_CKRBYTEARRAY_H

#include <cstddef>

#include "platform/KrTypes.h"

class ORVIK_API CKrByteArray {
public:
    // Where SetData writes.  Values other than the two listed act as ModeOpReplace.  Both
    // enumerations have int as their fixed underlying type, so any int value is a valid argument.
    enum EKrByteArrayModeOp : int {
        ModeOpReplace = 0,  // from position 0
        ModeOpAppend = 1,   // after the current size
    };
    // How SetData grows the block.  Values other than the three listed act as ModeAllocExact.
    enum EKrByteArrayModeAlloc : int {
        ModeAllocExact = 0,      // to exactly the size needed
        ModeAllocFixed = 1,      // never: what does not fit is cut
        ModeAllocIncrement = 2,  // by whole increments, at least one
    };

    // Empty, increment 1024.
    CKrByteArray();
    // Empty; the increment is stored exactly as given.  This is the only way to get an
    // increment of 0, which SetData's increment mode then treats as 1.
    explicit CKrByteArray(size_t increment);
    // Increment as given (0 becomes 1).  Allocates exactly `size` bytes when `size` is non-zero;
    // when `data` is non-null and the allocation succeeded, copies `size` bytes and the size
    // becomes `size`.  With a null `data` the bytes are only reserved (size 0).  A failed
    // allocation leaves an empty array.
    CKrByteArray(void const *data, size_t size, size_t increment);
    // Allocates exactly the source's size and copies its bytes, both read through the source's
    // virtual GetSize / GetData.  Increment of the source (0 becomes 1); offset 0.
    CKrByteArray(CKrByteArray const &other);
    // Takes the source's block, size, allocated size and offset; the source is left empty with
    // its increment.  Never allocates (used when containers relocate arrays).
    CKrByteArray(CKrByteArray &&other) noexcept;

    // ---- virtual operations (this order is the order of the virtual table) -------------------
    virtual ~CKrByteArray();
    // FreeData(), then SetData(source data, source size, ModeOpReplace, ModeAllocExact).  The
    // increment is not copied.  Self-assignment leaves the array unchanged.
    virtual CKrByteArray &operator=(CKrByteArray const &other);
    // Equal sizes and equal bytes.
    virtual bool operator==(CKrByteArray const &other) const;
    virtual bool operator!=(CKrByteArray const &other) const;  // !operator==

    // Writes `size` bytes from `data` at position 0 (replace) or after the current size
    // (append), growing the block first when they do not fit:
    //   exact      the block becomes base + size bytes;
    //   fixed      no growth;
    //   increment  the block grows by k whole increments, k = (base + size - allocated) /
    //              increment + 1, so always by at least one increment.  Behind the reported
    //              allocated size the memory grows geometrically (up to 1.5 times the reported
    //              size), so long runs of appends cost amortised constant time per byte.
    // A failed growth keeps the old block.  With a null `data` nothing is written and the call
    // only reserves space: the result is 0, or -3 when the growth failed.  Otherwise as many
    // bytes as fit are copied and the size becomes base + copied; the result is 0 when all were
    // copied, -8 when only part fitted, -9 when none did (0 for size 0).
    // A request whose block size cannot be represented or exceeds PTRDIFF_MAX (sizes near the
    // top of size_t) cannot be satisfied by any allocator: it returns -3 at once and changes
    // nothing, rather than wrapping around into a small block.
    virtual int SetData(void const *data, size_t size, EKrByteArrayModeOp op = ModeOpReplace,
                        EKrByteArrayModeAlloc alloc = ModeAllocExact);
    // Frees the block; data, offset, size and allocated become 0.  The increment stays (0 becomes
    // 1).
    virtual void FreeData();
    virtual void SetIncrement(size_t increment);  // 0 becomes 1
    // -4 (unchanged) when `offset` is beyond the allocated size, else sets it and returns 0.
    virtual int SetCurrentOffset(size_t offset);
    // -4 for a null `p`, no block, or `p` below the block; else SetCurrentOffset(p - data).
    virtual int SetCurrentOffsetPtr(void *p);
    // The offset, or 0 when it exceeds the allocated size.
    virtual size_t GetCurrentOffset() const;
    // Block + GetCurrentOffset() (null + 0 without a block).
    virtual void *GetCurrentOffsetPtr() const;
    // When `newSize` is non-zero and not beyond the allocated size, the size becomes `newSize`.
    // Returns the block either way (0 leaves the size as it is).  The pointer is owned by the
    // array and valid until its block changes.
    virtual void *GetData(size_t newSize);
    virtual void const *GetData() const;
    virtual size_t GetSize() const;
    // Sets the size when it is not beyond the allocated size; otherwise ignored.  Never allocates.
    virtual void SetSize(size_t size);
    virtual size_t GetAllocated() const;
    // Always false: offsets are never moved by 64-bit seeks.
    virtual bool GetAllowed64BitsSeek() const;

private:
    void *growForAppending(size_t newSize);  // the block behind ModeAllocIncrement growth

protected:
    kr_uint8 *m_pData;          // null when nothing is allocated
    kr_uint64 m_currentOffset;  // cursor, checked against m_allocated when read
    kr_uint64 m_size;           // valid bytes, <= m_allocated
    kr_uint64 m_allocated;      // usable size of the block (the memory may be larger)
    kr_uint64 m_increment;      // growth step of ModeAllocIncrement
};

#endif
