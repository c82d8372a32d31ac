// CKrLiteVariantW: writes a lite variant buffer, the compact binary form of a tree of named
// values, item by item.  Finalize hands the finished buffer to a reader (CKrLiteVariantR).
//
// Layout (all fields little-endian, unaligned).  An item is its type code (EKrLiteVariantType,
// 1 byte), its name length in UTF-16 units (1 byte; terminator included; 0 for no name), the
// name units, for code 9 an 8-byte blob length, then the value.  A level (code 11) is its head,
// a 4-byte child count, an 8-byte level size (from its type code to the end of its last child),
// the children in writing order, and an index of one 8-byte offset per child (from the level's
// type code), sorted by name.  Names compare as unsigned 16-bit units over the shorter stored
// length, then the shorter first.  A name of 255 units or more is cut to 255 units and stored
// without its terminator (readers rely on the length byte).
//
// The buffer grows from 4096 bytes by doubling (CKrAlloc, zero-filled, alignment 16).  A level
// can be opened at the top only while the buffer is empty, so a buffer normally holds one
// top-level level; items written at the top beside it are reached only by reading in order.
//
// Results: 0, or -9 for a structural refusal (second top-level level, LevelEnd with no open
// level), -3 when memory runs out or a size limit is reached (nothing is written then), -4 for
// an invalid argument.  Not copyable; one thread uses one writer at a time.
#ifndef ORVIK_VARIANT_CKRLITEVARIANTW_H
#define ORVIK_VARIANT_CKRLITEVARIANTW_H

#include "platform/KrTypes.h"
#include "strings/CKrStringW.h"
#include "types/CKrByteArray.h"
#include "variant/EKrLiteVariantType.h"

class QString;
class CKrVariant;
class CKrLiteVariantR;

class ORVIK_API CKrLiteVariantW {
public:
    CKrLiteVariantW();
    ~CKrLiteVariantW();  // frees an unfinished buffer
    CKrLiteVariantW(CKrLiteVariantW const &) = delete;
    CKrLiteVariantW &operator=(CKrLiteVariantW const &) = delete;

    // Each appends one item named `name` (null or empty: an item without a name) to the open
    // level, or at the top when none is open.
    int Set(bool value, wchar_t const *name);
    int Set(int value, wchar_t const *name);
    int Set(unsigned int value, wchar_t const *name);
    int Set(kr_int64 value, wchar_t const *name);
    int Set(kr_uint64 value, wchar_t const *name);
    int Set(long long value, wchar_t const *name);           // as kr_int64
    int Set(unsigned long long value, wchar_t const *name);  // as kr_uint64
    int Set(double value, wchar_t const *name);
    int Set(void *value, wchar_t const *name);  // the pointer value itself
    // Code 8: the units and a terminator; null stores an empty string.  Each wchar_t is stored
    // as one UTF-16 unit (its low 16 bits).
    int Set(wchar_t const *value, wchar_t const *name);
    int Set(CKrStringW const &value, wchar_t const *name);  // up to its first zero unit
    // Code 9 blobs.  A null `data` with a non-zero size is refused with -4.
    int Set(CKrByteArray const &value, wchar_t const *name);
    int Set(void const *data, kr_uint64 size, wchar_t const *name);
    int Set(QString const &value, wchar_t const *name);  // its UTF-8 bytes, no terminator
    // A whole variant tree.  A scalar becomes the one item of its type.  A list becomes a level
    // named `name`; a record (run type other than "CKrListVariant") gets a first string item
    // "__m_runType" holding its run type.  Children are written under their own names, an
    // empty name as "no_name" (the variant's name for an unnamed node), so that every child
    // can be reached by name and reads back as it was.  A Null variant is written as a level
    // holding only "__m_runType" = "unknown" (its run type), which reads back as Null.  Trees
    // of any depth are walked without recursion.  Returns 0, or the first failing result (the
    // levels opened so far stay open and are closed by Finalize).
    int Set(CKrVariant const &value, wchar_t const *name);

    // Opens a nested level named `name`.  At the top it is refused with -9 when the buffer
    // already holds data.
    int LevelBegin(wchar_t const *name);
    // Closes the innermost level: writes its count and size and appends its sorted index.
    // -9 when no level is open.
    int LevelEnd();

    // Appends every top-level item of `source` (levels with all their contents, rebuilt item by
    // item, so the copy is well formed even when parts of the source are damaged) to the open
    // level or the top.  A compressed source is inflated first.  The source's read position is
    // not changed.  Returns 0; -9 when the source cannot be read (the items copied before the
    // damaged one stay) or a top-level level would have to follow data; -3 for memory.
    int Append(CKrLiteVariantR const &source);

    // Closes every open level and hands the buffer to `target` (which frees what it held).
    // compress 1: the target receives the envelope "LV0Z", the plain size (8 bytes) and a zlib
    // stream (level 6) of the plain buffer.  When zlib cannot make the data smaller (or memory
    // runs out) the result is null, `target` is unchanged and the writer keeps its buffer.
    // Otherwise the writer is left empty and the result is the start of the target's data
    // (null for an empty writer: the target then holds no buffer).
    void *Finalize(CKrLiteVariantR &target, int compress);

    kr_uint64 GetSize() const { return m_pos; }  // bytes written so far
    int GetDepth() const { return m_depth; }     // open levels - 1 (-1: none open)

private:
    // A child of an open level: its offset from the level's start and its first eight name
    // units as two numbers (the first unit most significant, zero-padded), the sort key of the
    // index.  Equal keys are decided by the stored names in full.
    struct Child {
        kr_uint64 hi, lo, offset;
    };
    // The children of all open levels form one stack (m_children): a nested level's children
    // sit above its parent's and are dropped when it closes, so the arrays are reused from one
    // level to the next instead of allocated per level.
    struct Level {
        kr_uint64 start;  // offset of the level's type code
        size_t first;     // its first child in m_children
        kr_uint32 count;
        kr_uint32 runs;  // runs of children in name order (1: the index needs no sort)
    };

    int reserve(kr_uint64 bytes);
    int reserveChild();
    void addChild(kr_uint8 const *item, kr_uint64 w0, kr_uint64 w1);
    kr_uint8 *writeHead(int type, wchar_t const *name, kr_uint64 valueBytes);
    template <size_t Bytes>
    int setFixed(int type, void const *value, wchar_t const *name);
    int setUnits(wchar_t const *value, size_t length, wchar_t const *name);
    Child const *sortChildren(Level const &level);
    void releaseStacks();  // the level, child and scratch arrays (between top-level items)
    void release();

    kr_uint8 *m_pData;
    kr_uint64 m_allocated;
    kr_uint64 m_pos;
    Level *m_levels;      // the stack of open levels
    int m_levelCapacity;  // whole multiples of 8
    int m_depth;          // -1 when no level is open
    Child *m_children;    // the children of the open levels, innermost last
    size_t m_childCount;
    size_t m_childCapacity;
    Child *m_scratch;  // the sort's second array (kept between levels)
    size_t m_scratchCapacity;
};

#endif
