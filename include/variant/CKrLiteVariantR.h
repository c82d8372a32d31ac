// CKrLiteVariantR: owns a finished lite variant buffer (layout in CKrLiteVariantW.h) and reads it
// in place, by name, by path or in writing order, without building objects.
//
// Safety: a buffer is hostile until validated.  No member reads outside [data, data + size),
// whatever the buffer holds (lying counts, sizes, lengths, index entries); a damaged item gives
// -9, the default value or an empty result, never a crash.  Validate checks a whole buffer in
// one pass.  The compressed envelope ("LV0Z", plain size, zlib stream) is inflated on the first
// access that reads items; a declared size beyond what deflate can produce from the stream
// (1032 to 1) or beyond 4 GiB is refused before anything is allocated, and a failed inflation
// leaves the envelope as it was and makes every access give -9.
//
// Read state: a position (the current item), the current level (depth -1 at the top) and the
// stack of entered levels.  It is reset whenever the reader receives a buffer and when a path
// starts with a backslash.  By-name access leaves the position on the item after the one it
// found, so reading in writing order always takes the fast path (no search, no allocation).
//
// Find (every by-name access): a name beginning with "\" is a path from the top: "\a\b\c"
// enters a and b and finds c (a failed component gives -9 and leaves the state at the top).
// Otherwise the item at the position is taken when it has the name; else the current level's
// sorted index is searched (at the top, which has no index: -9).  Of equally named items a
// search finds the first written.  A stored name matches when its units equal the wanted ones
// and its stored length is the wanted length, or that plus a zero terminator; so a name of 256
// units or more, stored cut at 255, is found by its first 255 units (callers rely on this).
//
// Results are 0 or negative: -9 not found, wrong kind of item, damaged or undecodable buffer;
// -8 data cut short; -4 invalid argument; -3 memory or size limit; -2 not supported.
#ifndef ORVIK_VARIANT_CKRLITEVARIANTR_H
#define ORVIK_VARIANT_CKRLITEVARIANTR_H

#include "platform/KrTypes.h"
#include "strings/CKrStringW.h"
#include "types/CKrByteArray.h"
#include "variant/EKrLiteVariantType.h"

class QString;
class CKrVariant;

class ORVIK_API CKrLiteVariantR {
public:
    CKrLiteVariantR();
    // Copies the other reader's buffer (as it is now: plain or still compressed); fresh read state.
    CKrLiteVariantR(CKrLiteVariantR const &other);
    CKrLiteVariantR &operator=(CKrLiteVariantR const &other);
    CKrLiteVariantR(CKrLiteVariantR &&other) noexcept;  // takes the buffer; other is left empty
    CKrLiteVariantR &operator=(CKrLiteVariantR &&other) noexcept;
    virtual ~CKrLiteVariantR();  // frees the buffer (CKrAlloc::Free)

    // ---- buffer ------------------------------------------------------------------------------
    void *GetPointer() const { return m_pData; }  // owned by the reader; null when empty
    kr_uint64 GetSize() const { return m_size; }  // data bytes (the envelope's until inflated)
    kr_uint64 GetAllocatedSize() const { return m_allocated; }
    // Frees the current buffer and takes `data` (memory from CKrAlloc, freed with
    // CKrAlloc::Free) holding `size` valid bytes.  A null `data` leaves the reader empty; an
    // `allocated` below `size` is raised to `size`.  Resets the read state.
    void SetPointer(void *data, kr_uint64 size, kr_uint64 allocated);
    void Clear();  // frees the buffer; the reader is empty
    // Gives up the buffer without freeing it and returns it (the caller frees it with
    // CKrAlloc::Free); the reader is empty.
    void *ClearPointer();
    // Inflates a compressed buffer now (a no-op for a plain one).  0, or -9 when the envelope is
    // damaged (the buffer stays as it was), -3 when its declared size is refused or memory runs
    // out.
    int Decompress();
    // Checks the whole buffer in one pass without recursion: type codes, name lengths, string
    // terminators, blob lengths, level sizes and child counts, and that each level's index holds
    // every child's offset once and is sorted.  An envelope is inflated first.  0 when well
    // formed (an empty buffer is).  Otherwise -9 (-3 for an envelope whose declared size is
    // refused) and *faultOffset (when non-null) receives the offset of the item, level or index
    // entry at fault in the plain data, or 0 for a damaged envelope.
    int Validate(kr_uint64 *faultOffset);

    // ---- reading in writing order -------------------------------------------------------------
    void Reset();        // position on the first top-level item, depth -1
    int FirstValue();    // position on the first item of the current level; 0, or -9 when empty
    int NextValue();     // position on the next item; 0, or -9 when there is none (no move)
    bool IsNextValue();  // true when NextValue would succeed
    // Enters the level `name` (Find): the position becomes its first child, *count (optional)
    // its child count.  -9 when not found or not a level.
    int LevelBegin(wchar_t const *name, unsigned int *count = nullptr);
    int CurrentLevelBegin(unsigned int *count = nullptr);  // enters the level at the position
    // Leaves the current level; the position becomes the item after it (so that by-name reads
    // in writing order stay on the fast path).  A walk in order therefore tests the position
    // after LevelEnd instead of calling NextValue:
    //   for (bool more = r.FirstValue() == 0; more;) {
    //       if (r.GetCurrentType() == krLVT_LEVEL) { r.CurrentLevelBegin(); ...; r.LevelEnd();
    //                                                more = r.GetCurrentType() != krLVT_NONE; }
    //       else { ...; more = r.NextValue() == 0; } }
    // -9 at the top.
    int LevelEnd();
    int GetDepth() const { return m_depth; }
    // The type code at the position (EKrLiteVariantType); krLVT_NONE when there is no readable
    // item there; an unknown code (10 included) is returned as it is.
    int GetCurrentType();
    CKrStringW GetCurrentName();  // empty when none (units past a cut name are not invented)
    // The value at the position, converted as the typed Get below does.  0, or -9 when there is
    // no item or it cannot be converted (the output is then unchanged).
    int GetCurrentValue(bool &out);
    int GetCurrentValue(int &out);
    int GetCurrentValue(unsigned int &out);
    int GetCurrentValue(kr_int64 &out);
    int GetCurrentValue(kr_uint64 &out);
    int GetCurrentValue(double &out);
    int GetCurrentValue(void *&out);
    int GetCurrentValue(CKrStringW &out);
    int GetCurrentValue(CKrByteArray &out);
    int GetCurrentValue(QString &out);
    int GetCurrentValue(CKrVariant &out);
    int GetCurrentValue(void *buffer,
                        kr_uint64 size);     // raw value bytes, as Get(name, buffer, size)
    CKrStringW GetCurrentValueCKrStringW();  // the text form; empty when none
    // The text form into a wide buffer of `units` units, always zero-terminated when units > 0:
    // 0, -8 when it was cut to fit, -9 when there is no item, -4 for a null buffer or no room.
    int GetCurrentValueIntoBuffer(wchar_t *buffer, unsigned int units);

    // ---- access by name or path ---------------------------------------------------------------
    // The offset of the item (see Find above) or -9.
    kr_int64 Find(wchar_t const *name);
    // The value, or `def` when the item is absent, is a level or does not convert.  A stored
    // value of another type is converted as CKrVariant's getters convert (numbers truncate,
    // "true"/"42" strings scan, blobs give their first bytes); what the variant cannot convert
    // gives `def`.
    bool Get(wchar_t const *name, bool def);
    int Get(wchar_t const *name, int def);
    unsigned int Get(wchar_t const *name, unsigned int def);
    kr_int64 Get(wchar_t const *name, kr_int64 def);
    kr_uint64 Get(wchar_t const *name, kr_uint64 def);
    long long Get(wchar_t const *name, long long def);
    unsigned long long Get(wchar_t const *name, unsigned long long def);
    double Get(wchar_t const *name, double def);
    void *Get(wchar_t const *name, void *def);
    // Copies the raw value bytes (a blob's bytes, a string's units with terminator, a number's
    // bytes) into `buffer`: 0 when all fitted, -8 when cut to `size`, -9 absent or a level,
    // -4 for a null buffer with a non-zero size.
    int Get(wchar_t const *name, void *buffer, kr_uint64 size);
    // A blob's bytes; a string is Base64-decoded, a number gives its bytes (as the variant
    // converts).  0, or -9 (out unchanged).
    int Get(wchar_t const *name, CKrByteArray &out);
    // The item as a variant: scalars by their run type, a level as a list with its children
    // (a level starting with "__m_runType" as a record of that run type; a registered type gets
    // its missing members through SetRunType).  `out` takes the value, the run type and the
    // item's name (validated as variant names are) whatever its type-change setting, which
    // stays.  0, or -9 (out unchanged).
    int Get(wchar_t const *name, CKrVariant &out);
    // A blob as UTF-8, a string's units; other scalars as their text form.  0, or -9.
    int Get(wchar_t const *name, QString &out);
    CKrStringW GetCKrStringW(wchar_t const *name, wchar_t const *def);  // text form, or def
    int GetStringIntoBuffer(wchar_t const *name, wchar_t *buffer, unsigned int units);
    bool IsValueSet(wchar_t const *name);  // the item exists (Find succeeds)

    // ---- rebuilding ---------------------------------------------------------------------------
    // Every rebuild writes a new buffer through CKrLiteVariantW, so its result is well formed
    // (sorted indexes, exact sizes) even when the source was damaged; a damaged part that
    // cannot be read makes the member fail with -9 and leaves everything unchanged.
    //
    // `out` receives a buffer holding only the item found at `path` (a level with everything
    // below it).  0, -9 when not found.
    int Extract(wchar_t const *path, CKrLiteVariantR &out);
    int ExtractCurrent(CKrLiteVariantR &out);  // the item at the position
    // Merges `other` into this buffer, level by level: an item of `other` takes the place of the
    // first not yet matched item of the same name in the same level of this buffer (two levels
    // are merged the same way, recursively; otherwise the item of `other` wins), items without
    // a partner are appended to the level in `other`'s order.  Duplicate names therefore pair
    // in order (the second "x" of `other` with the second "x" here).  `other` is not changed
    // (beyond being inflated).  0; -9 when either cannot be read or the result would need a
    // second top-level level.
    int Merge(CKrLiteVariantR &other);
    // Rebuilds the buffer without the item at `path`.  0, -9 when not found.
    int Remove(wchar_t const *path);
    // Rebuilds the buffer with the top-level items of `replacement` (names included) in place
    // of the item at `path`.  0, -9 when not found.
    int Replace(wchar_t const *path, CKrLiteVariantR &replacement);

    // ---- text and files -----------------------------------------------------------------------
    // The XML form of a variant (CKrVariant::Write): a buffer whose top holds exactly one level
    // is that level; any other buffer is a list named "LiteVariant" of its top-level items.
    int LiteVariantToXML(CKrStringW &out);
    // Parses the XML form (CKrVariant::Read) and writes the variant as Set(variant, its name)
    // does; the reader takes the new buffer.  Read's result when it fails (-2 while no XML reader
    // is installed), -9 for an empty document; the buffer is kept on failure.
    int LiteVariantFromXML(CKrStringW const &text);
    // Files.  A plain buffer is saved as "LV00", its size (8 bytes), then the buffer; a buffer
    // still compressed is saved as its envelope ("LV0Z", ...) unchanged.  Load accepts both,
    // inflates an envelope, and takes the buffer only when Validate passes; otherwise the
    // reader keeps what it held.  Results: 0, -4 for a null path or a file that cannot be
    // opened, -8 for a file shorter than its header says, -9 for an unknown mark, a damaged
    // buffer or a failed write, -3 beyond 4 GiB or out of memory.
    int SaveToFile(wchar_t const *path);
    int LoadFromFile(wchar_t const *path);
    // The XML form as a UTF-8 file with a byte-order mark; loading accepts UTF-8 with or without
    // it.  Results as above, and LiteVariantFromXML's.
    int SaveToXMLFile(wchar_t const *path);
    int LoadFromXMLFile(wchar_t const *path);
    // An indented dump (two spaces per level), one line per item: name, type code and value
    // text; blobs show their length.  The first sends it to DiagOutputExW.
    void Trace();
    int Trace(CKrStringW &out);
    // Buffers of the older 3.1 layout are not supported: reports "Error:
    // CKrLiteVariantR::ConvertLV31toLV32(), not supported!" and returns -2, buffer unchanged.
    int ConvertLV31toLV32();

private:
    struct Level {
        kr_uint64 start;        // the level's type code
        kr_uint64 first;        // its first child
        kr_uint64 childrenEnd;  // start + level size: its index begins here
        kr_uint32 count;
    };
    static constexpr int kInlineLevels = 16;

    bool plain();                  // inflates when needed; false when unreadable
    kr_uint64 levelLimit() const;  // end of the current level's children (size at the top)
    bool pushLevel(kr_uint64 at);  // enters the level item at `at`
    kr_int64 findInLevel(wchar_t const *name, size_t length);  // to its end or `length` units
    kr_int64 findValue(wchar_t const *name);  // Find, then the position moves past the item
    void resetState();
    void copyFrom(CKrLiteVariantR const &other);
    friend struct CKrLiteVariantAccess;

    kr_uint8 *m_pData;
    kr_uint64 m_size;
    kr_uint64 m_allocated;
    kr_uint64 m_pos;      // offset of the current item
    int m_depth;          // -1 at the top
    int m_levelCapacity;  // of m_levels
    Level *m_levels;      // m_inline, or heap memory beyond kInlineLevels
    Level m_inline[kInlineLevels];
    bool m_unreadable;  // inflation failed: every access gives -9
};

#endif
