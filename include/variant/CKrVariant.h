// CKrVariant: a named node that holds nothing (Null), one typed scalar, or an ordered list of
// child variants.  Lists of named children make records, lists of lists make trees; settings,
// metadata and catalogue records travel as such trees.
//
// Strong typing: once a variant holds a value it refuses to change its run type (assignment of
// another type, MakeNull, turning a scalar into a list, ...) unless EnableTypeChange(true) was
// called on it.  A Null variant counts as holding the type "unknown": assigning a value to it
// is refused too, deliberately; enable type change first.  Appending to a Null variant is the
// exception: it becomes a list.
//
// Failures never throw.  Misuse is reported through DiagAssertW (source "variant/CKrVariant")
// with the condition and message documented at each member, and the member returns its
// fallback: no change, false, -1, -9, null, or the shared Null variant (GetNullVariant()).
//
// Every algorithm over a whole tree (copy, destruction, comparison, searches, CompareStructure,
// Write, Trace) walks with an explicit stack or queue, so trees thousands of levels deep are
// safe.  Child arrays are guarded by the process-wide list lock (see CKrListVariant); values and
// names are not: one thread uses one tree at a time.
//
// Names: every constructor (except the copy constructors) and SetOrAppend pass the name through
// ValidateName; SetName stores it unchanged.
#ifndef ORVIK_VARIANT_CKRVARIANT_H
#define ORVIK_VARIANT_CKRVARIANT_H

#include <concepts>
#include <cstddef>
#include <functional>
#include <initializer_list>
#include <type_traits>

#include "platform/KrTypes.h"
#include "strings/CKrStringA.h"
#include "strings/CKrStringW.h"
#include "types/CKrByteArray.h"
#include "variant/CKrListVariant.h"
#include "variant/CKrVariantData.h"
#include "variant/CKrVariantRunType.h"

struct CKrVariantAccess;

class ORVIK_API CKrVariant {
public:
    // ---- construction -----------------------------------------------------------------------
    CKrVariant();  // Null, named "no_name"
    // The name is taken by value so that a temporary (the usual L"..." argument) is moved in
    // rather than copied; it is validated in place.
    CKrVariant(int value, CKrStringW name = CKrStringW());
    CKrVariant(unsigned int value, CKrStringW name = CKrStringW());
    CKrVariant(kr_int64 value, CKrStringW name = CKrStringW());
    CKrVariant(kr_uint64 value, CKrStringW name = CKrStringW());
    CKrVariant(long long value, CKrStringW name = CKrStringW());           // as kr_int64
    CKrVariant(unsigned long long value, CKrStringW name = CKrStringW());  // as kr_uint64
    CKrVariant(double value, CKrStringW name = CKrStringW());
    CKrVariant(bool value, CKrStringW name = CKrStringW());
    CKrVariant(void *value, CKrStringW name = CKrStringW());           // not owned
    CKrVariant(char const *value, CKrStringW name = CKrStringW());     // "CKrStringW" (mbstowcs)
    CKrVariant(wchar_t const *value, CKrStringW name = CKrStringW());  // "CKrStringW"
    CKrVariant(CKrStringW const &value, CKrStringW name = CKrStringW());
    CKrVariant(CKrByteArray const &value, CKrStringW name = CKrStringW());
    CKrVariant(CKrListVariant const &value, CKrStringW name = CKrStringW());  // deep copy
    // An empty value made by CreateEmpty from the registered sample of `type`; Null when the
    // type is not registered (reported by GetRunTypeSample) or its sample is Null.  For a record
    // type this is an empty plain list (CreateEmpty of a list); SetRunType gives the record with
    // its members.
    CKrVariant(CKrVariantRunType const &type, CKrStringW const &name);
    // Deep copy: value, name (unchanged) and the type-change flag.
    CKrVariant(CKrVariant const &other);
    // Takes the value, the name and the flag; `other` is left Null with an empty name.
    CKrVariant(CKrVariant &&other) noexcept;
    ~CKrVariant();

    // Nodes come from the library's pool of small objects (any thread may free what another
    // made); placement new works as usual.
    static void *operator new(std::size_t size);
    static void operator delete(void *p, std::size_t size) noexcept;
    static void *operator new(std::size_t, void *where) noexcept { return where; }
    static void operator delete(void *, void *) noexcept {}

    // ---- type change ------------------------------------------------------------------------
    bool EnableTypeChange(bool enable);  // returns the previous setting
    bool IsEnabledTypeChange() const { return m_enabledTypeChange; }
    bool IsNull() const { return m_pData == nullptr; }
    // Destroys the value when type change is enabled; otherwise reports
    // "Error: CKrVariant::MakeNull()), type change not enabled!" ("!m_enabledTypeChange").
    CKrVariant &MakeNull();

    // ---- typed assignment ------------------------------------------------------------------
    // Same run type: the value is stored in place.  Another run type (Null included): without
    // type change it reports "Error: CKrVariant::operator=, can't do assignment - type change
    // not enabled" ("!m_enabledTypeChange") and nothing changes; with it the value is replaced.
    // The character-pointer forms store a "CKrStringW" (without them a string literal would
    // silently choose the bool overload).
    CKrVariant &operator=(int value);
    CKrVariant &operator=(unsigned int value);
    CKrVariant &operator=(kr_int64 value);
    CKrVariant &operator=(kr_uint64 value);
    CKrVariant &operator=(long long value);
    CKrVariant &operator=(unsigned long long value);
    CKrVariant &operator=(double value);
    CKrVariant &operator=(bool value);
    CKrVariant &operator=(void *value);
    CKrVariant &operator=(char const *value);
    CKrVariant &operator=(wchar_t const *value);
    CKrVariant &operator=(CKrStringW const &value);
    CKrVariant &operator=(CKrByteArray const &value);
    CKrVariant &operator=(CKrListVariant const &value);  // a plain list with copies of the children

    // Assignment between variants (the name of the target never changes):
    //  1. both share one holder: nothing happens;
    //  2. `other` Null: this becomes Null, except when it holds a value and type change is off:
    //     "Error: can't do assignment, type change not enabled!" ("m_pData &&
    //     !m_enabledTypeChange");
    //  3. same run type: the value is copied (lists: children replaced by copies);
    //  4. otherwise, without type change: "Error: can't do assignment from type: %hs to: %hs,
    //     type change not enabled!" (source type first, "unknown" for Null) and no change; with
    //     it the value is replaced by a copy of the source's.
    CKrVariant &operator=(CKrVariant const &other);

    // ---- comparison -------------------------------------------------------------------------
    // Against a value: the variant is read with the matching getter; a failed conversion gives
    // false, otherwise the converted value is compared.  So "double" 2.5 == int 2, and
    // "CKrStringW" "7" == int 7 (callers rely on it).  Strings compare with GetCKrStringW.
    bool operator==(int value) const;
    bool operator==(unsigned int value) const;
    bool operator==(kr_int64 value) const;
    bool operator==(kr_uint64 value) const;
    bool operator==(long long value) const;
    bool operator==(unsigned long long value) const;
    bool operator==(double value) const;
    bool operator==(bool value) const;
    bool operator==(void *value) const;
    bool operator==(char const *value) const;
    bool operator==(wchar_t const *value) const;
    bool operator==(CKrStringW const &value) const;
    bool operator==(CKrByteArray const &value) const;
    // Both Null: true; one Null: false; else run types and values (names of the two compared
    // nodes do not count; inside lists names pair the children).
    bool operator==(CKrVariant const &other) const;
    template <class T>
    bool operator!=(T const &value) const {
        return !(*this == value);
    }
    bool operator!=(char const *value) const { return !(*this == value); }
    bool operator!=(wchar_t const *value) const { return !(*this == value); }

    // ---- reading with conversion -------------------------------------------------------------
    // `ok` (optional) is set to true first and to false on failure.  Rule for the numbers:
    //   integers and "voidPtr": the stored bits, truncated (no range check);
    //   "double": truncated toward zero (NaN and values outside the target's range give the
    //             target's "integer indefinite": the lowest signed value, 0x80000000 for
    //             kr_uint32 and 0x8000000000000000 for kr_uint64);
    //   "bool": 0 or 1;
    //   "CKrStringW": the text scanned as the target type (0 when it does not scan; ok stays true);
    //   "CKrByteArray": the first bytes in machine order when the array holds at least the
    //             target's size (4 for 32-bit, 8 for 64-bit, double and void*; 1 for bool);
    //   otherwise ok false and the result -1 (all bits set; false for GetBool); Null and lists
    //   are reported ("Can't convert to kr_int32!" etc., condition "true"), a short byte array
    //   is not.
    kr_int32 GetKr_int32(bool *ok = nullptr) const;
    kr_uint32 GetKr_uint32(bool *ok = nullptr) const;
    kr_int64 GetKr_int64(bool *ok = nullptr) const;
    kr_uint64 GetKr_uint64(bool *ok = nullptr) const;
    double GetDouble(bool *ok = nullptr) const;
    bool GetBool(bool *ok = nullptr) const;
    void *GetVoidPtr(bool *ok = nullptr) const;
    // The holder's text form for every run type; ok is GetString's result (false and an empty
    // string for Null and for an empty byte array).
    CKrStringW GetCKrStringW(bool *ok = nullptr) const;
    // A byte array as stored; a string is Base64-decoded; a number gives its bytes in machine
    // order (the reverse of the numeric reading above).  Null and lists: reported
    // ("Can't convert to CKrByteArray!"), ok false, an empty array.
    CKrByteArray GetCKrByteArray(bool *ok = nullptr) const;
    // The children of a list.  Any other variant reports "Can't convert to CKrListVariant!",
    // sets ok false and returns an empty per-thread scratch list that is emptied again on the
    // thread's next failing call: never store into it.
    CKrListVariant &GetCKrListVariant(bool *ok = nullptr);
    CKrListVariant const &GetCKrListVariant(bool *ok = nullptr) const;
    // Address of the stored value (the holder's GetValuePtr), null for Null.
    void *GetValueVoidPtr();
    void const *GetValueVoidPtr() const;

    operator int() const { return GetKr_int32(); }
    operator unsigned int() const { return GetKr_uint32(); }
    operator kr_int64() const { return GetKr_int64(); }
    operator kr_uint64() const { return GetKr_uint64(); }
    operator double() const { return GetDouble(); }
    operator bool() const { return GetBool(); }
    operator void *() const { return GetVoidPtr(); }
    operator CKrStringW() const { return GetCKrStringW(); }
    operator CKrByteArray() const { return GetCKrByteArray(); }
    operator CKrListVariant &() { return GetCKrListVariant(); }

    // ---- name and run type ------------------------------------------------------------------
    CKrStringW const &GetName() const { return m_name; }
    void SetName(CKrStringW const &name);  // stored unchanged, without validation
    // "unknown" for Null.  The reference is valid until the value changes.
    CKrVariantRunType const &GetRunType() const;
    // Gives the variant a registered run type, as a user of record types expects:
    //   - the same run type as now: nothing changes, 0;
    //   - "unknown": the variant becomes Null (needs type change unless already Null);
    //   - a list (plain or record) given a list type: it takes the new run-type name and gains
    //     copies of the record's members that it lacks (its own children stay); no type change
    //     needed, as naming lists is what CreateStructNamed and Delete do anyway;
    //   - anything else (Null, a scalar, list <-> scalar): the value is replaced by a copy of the
    //     registered sample's value (scalars: zero or empty; records: the members with the
    //     sample's values).  Needs type change, as assignment does; otherwise it reports
    //     "Error: CKrVariant::SetRunType(), type change not enabled!" ("!m_enabledTypeChange")
    //     and returns -9;
    //   - an unregistered type: reported by GetRunTypeSample, no change, -9.
    // Record types must therefore be registered (RegisterRunType) before use.
    int SetRunType(CKrVariantRunType const &type);
    // As SetRunType, but keeps the data where the types allow it:
    //   - scalar to scalar (needs type change): the value converted by the getters above (a
    //     failed conversion: -9, no change, "Error: CKrVariant::SetRunTypeCompatible(), can't
    //     convert!");
    //   - list or record to a record type: the record's members from the sample, each taking
    //     the value of the first old child of the same name when the run types are equal or
    //     both are scalars that convert; other old children are dropped;
    //   - list or record to "CKrListVariant": the children stay, only the run type changes;
    //   - scalar to list or list to scalar: reported as above, -9.
    int SetRunTypeCompatible(CKrVariantRunType const &type);

    // ---- children ---------------------------------------------------------------------------
    int GetCount() const;  // -1 when not a list (Null included)
    // The child at `index`, null when the index is negative or not below the count.  On a
    // non-list: "Error: invalid variant runtype for array operation."
    // ("(!m_pData || !m_pData->IsArray())"), null.
    CKrVariant *IndexPtr(int index);
    CKrVariant const *IndexPtr(int index) const;
    // IndexPtr or the shared Null variant.
    CKrVariant &operator[](kr_uint64 index);
    template <std::integral I>
    CKrVariant &operator[](I index) {
        if constexpr (std::is_signed_v<I>) {
            if (index < 0) return GetNullVariant();
        }
        return (*this)[static_cast<kr_uint64>(index)];
    }
    // SearchFixedOneLevel(name) or the shared Null variant.
    CKrVariant &operator[](wchar_t const *name);
    // First child with exactly that name; -1 when none or not a list.
    int IndexOf(CKrStringW const &name) const;
    // Appends a copy of `item` (name and value) and returns the new child.  A Null variant
    // becomes a list; a scalar becomes one only with type change; a record becomes a plain list
    // (callers rely on that).  Refused (shared Null returned) for a non-list value without type
    // change: "Error: invalid variant type (%hs) for array operation." (condition "true").
    CKrVariant &Append(CKrVariant const &item);
    // As above, taking the value instead of copying it; an item that is this variant or one of
    // its ancestors (v[1].Append(std::move(v))) is copied instead and keeps its value.
    CKrVariant &Append(CKrVariant &&item);
    // As Append at `index` (0..count).  Always returns the shared Null variant, also after a
    // successful insertion (kept: callers reach the new child by index).  An index above the
    // count inserts nothing silently; a negative one reports "iIdx < 0" with an empty message.
    // Refusal: "Error: invalid variant type for array operation."
    CKrVariant &Insert(CKrVariant const &item, int index);
    // A child named `name`: assigned `value` with operator= (its name and type-change rule stay)
    // and its index returned (-9 when it cannot be reached).  Otherwise a copy of `value` named
    // `name` (validated) is appended and the result is -1, also when it appended (kept).
    int SetOrAppend(CKrStringW const &name, CKrVariant const &value);
    // Removes the child at `index`.  Without type change, a run type other than the plain list
    // reports "Error: can't delete member in this runtype."; an index not below the count
    // reports "Error: invalid index to delete!"; both return false.  A record becomes a plain
    // list.  With type change, a variant that is no list reports the array-operation error.
    bool Delete(unsigned int index);
    // Null stays Null.  Without type change a run type other than the plain list reports
    // "Error: can't ClearList in this runtype."; with type change it makes the variant a plain
    // list instead of clearing it (a record keeps its children, a scalar becomes an empty list;
    // kept as callers rely on it).  A plain list loses all children.
    CKrVariant &ClearList();
    // True when some child holds a value equal to `value`'s (Null matches Null; names ignored).
    // On a non-list: "Error: invalid variant type for array operation.", false.
    bool Member(CKrVariant const &value) const;

    // ---- search -----------------------------------------------------------------------------
    // The names form a null-terminated list.  For each name a breadth-first walk from the
    // current node (this node for the first name; the node itself is tested first) finds the
    // first node of that name; it becomes the start for the next name.  Null when a name is
    // not found or the first name is null.
    CKrVariant *Search(wchar_t const *name, ...);
    CKrVariant const *Search(wchar_t const *name, ...) const;
    // For each name only the direct children of the current node are tried, in order.
    CKrVariant *SearchFixed(wchar_t const *name, ...);
    CKrVariant const *SearchFixed(wchar_t const *name, ...) const;
    // The first direct child of that name, else null.  Searching the children of a node that
    // is no list reports the array-operation error (leaves met inside a walk are just skipped).
    CKrVariant *SearchFixedOneLevel(wchar_t const *name);
    CKrVariant const *SearchFixedOneLevel(wchar_t const *name) const;
    // The first node in pre-order (the node, then each child's subtree in order) for which
    // `test` is true, else null.  `test` is called without the list lock held.
    CKrVariant *SearchRecursive(std::function<bool(CKrVariant const *)> test);
    CKrVariant const *SearchRecursive(std::function<bool(CKrVariant const *)> test) const;

    // ---- structure and factories -------------------------------------------------------------
    // 0 when alike, -1 otherwise: child counts (-1 for non-lists) must match; two lists compare
    // their children pairwise with `recursive` (run types of the lists not compared), or their
    // run types without it; two non-lists compare run types.  Values and names never count.
    static int CompareStructure(CKrVariant const &a, CKrVariant const &b, bool recursive);
    // A plain list named `name` with copies of the given variants (null-terminated pointers).
    static CKrVariant CreateStruct(CKrStringW const &name, CKrVariant const *first, ...);
    static CKrVariant CreateStruct(CKrStringW const &name, std::initializer_list<CKrVariant> items);
    // The same, with the list's run type set to `type` (type change stays off on the result).
    static CKrVariant CreateStructNamed(CKrVariantRunType const &type, CKrStringW const &name,
                                        CKrVariant const *first, ...);
    static CKrVariant CreateStructNamed(CKrVariantRunType const &type, CKrStringW const &name,
                                        std::initializer_list<CKrVariant> items);
    // Makes any string a valid name; true when it changed it.  Empty -> "no_name"; a first
    // character other than an ASCII letter or "_" -> "_"; later characters other than ASCII
    // letters, digits, "-", "." and "_" -> "_".
    static bool ValidateName(CKrStringW &name);
    // The one process-wide Null variant returned by failed lookups.  Writable, but callers
    // must not store into it.
    static CKrVariant &GetNullVariant();

    // ---- text forms -------------------------------------------------------------------------
    // The XML form, indented by two spaces per level, one element per line ("\r\n"), framed by
    // "<variant version=\"1.0\">\r\n" and "</variant>\r\n".  The first form sends it to
    // DiagOutputExW, the second replaces `out` with it.
    static void Trace(CKrVariant const &v);
    static void Trace(CKrStringW &out, CKrVariant const &v);
    // The XML form without line breaks or indentation: <variant version="1.0">, one element per
    // node named by the node, attribute runtype, for a leaf also value (escaped as attribute
    // text except for byte arrays), </variant>.  Replaces `out`; returns 0.
    int Write(CKrStringW &out) const;
    // Parses the XML form (as Write gives it) into this variant: the reader of the XML
    // serialiser (CKrSerializerXMLString::VariantFromXML, results and rules documented there),
    // which installs itself with SetXmlReader when the shared library loads.  A program that
    // links the variant folder without the serializer has no reader: Read then reports
    // "Error: CKrVariant::Read(), reading the XML form is not supported!" (condition
    // "s_xmlReader == nullptr") and returns -2.
    int Read(CKrStringW const &text);
    int Read(wchar_t const *text);
    using XmlReader = int (*)(CKrVariant &target, wchar_t const *text, size_t length);
    static XmlReader SetXmlReader(XmlReader reader);  // returns the previous reader

    // ---- run-type registry ------------------------------------------------------------------
    // A process-wide map, ordered by run type, from run type to a sample variant.  The holder
    // run types are registered on first use of the registry; RegisterKnownTypes does it
    // explicitly (idempotent).
    static void RegisterKnownTypes();
    // Registers a copy of `sample` under the run type named by the sample's name (a list sample
    // is stored as a record of that type).  0 when registered or already registered with the
    // same structure (the first sample stays); -9 with "Error: same Runtype already registered
    // with different definition!" when the structure differs; -4 for a Null sample.
    static int RegisterRunType(CKrVariant const &sample);
    // The registered sample; for an unknown name "Error: CKrVariant::GetRunTypeSample(), can't
    // find: '%hs' runtype!" and the shared Null variant.  Samples live until the process ends.
    static CKrVariant const &GetRunTypeSample(CKrVariantRunType const &type);
    // Position of the run type in the registry's order, -1 when not registered (reported with
    // "Error: CKrVariant::GetRunTypeIndex(), can't find: '%hs' runtype!" when `report`).
    static int GetRunTypeIndex(CKrVariantRunType const &type, bool report = true);

private:
    friend struct CKrVariantAccess;

    // Takes `data` as it is and the name unchanged (copies and factories).
    struct RawTag {};
    CKrVariant(RawTag, CKrStringW const &name, CKrVariantData *data, bool enabledTypeChange);

    template <class Holder, class T>
    CKrVariant &assignValue(T const &value);
    bool canChangeTo(CKrVariantRunType const &type, wchar_t const *message, int line);
    CKrVariantDataCKrListVariant *listHolder() const;
    CKrVariantDataCKrListVariant *prepareListForAdd();
    CKrVariant const *searchLow(bool fixed, wchar_t const *first, va_list args) const;
    CKrVariant const *SearchRecursiveLow(std::function<bool(CKrVariant const *)> const &test) const;
    static void TraceLow(CKrStringW &out, CKrVariant const &v, bool indent);

    CKrVariantData **m_ppData;  // points at m_pData; kept for debugger visualisers
    CKrVariantData *m_pData;    // owned; null for Null
    CKrStringW m_name;
    bool m_enabledTypeChange;
};

#endif
