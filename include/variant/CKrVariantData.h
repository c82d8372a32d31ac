// CKrVariantData and its ten value holders.
//
// A variant owns at most one holder; the holder's class fixes the value's run type:
//
//   run type          holder                          text written        text read
//   "kr_int32"        CKrVariantDataKr_int32           "%d"                "%d" scan
//   "kr_uint32"       CKrVariantDataKr_uint32          "%u"                "%u" scan
//   "kr_int64"        CKrVariantDataKr_int64           "%lld"              "%lld" scan
//   "kr_uint64"       CKrVariantDataKr_uint64          "%llu"              "%llu" scan
//   "double"          CKrVariantDataDouble             "%.15f"             atof of the text
//   narrowed "bool"            CKrVariantDataBool               "true" / "false"    "true" ignoring
//   case "voidPtr"         CKrVariantDataVoidPtr            "%p" (16 hex digits) "%p" scan
//   "CKrStringW"      CKrVariantDataCKrStringW         the string          the text
//   "CKrByteArray"    CKrVariantDataCKrByteArray       Base64              Base64 decoded
//   "CKrListVariant"  CKrVariantDataCKrListVariant     (children)          (see the XML reader)
//
// SetString always reports success: text that does not scan leaves the value as it was.
// GetString returns true, except for an empty byte array (then `out` is left untouched).
//
// GetValueCopy copies into a holder of the same run type.  A target of another run type is
// reported with the holder's own message (the irregular class names and the misspelling in
// those messages are kept: log filters match them) and, for numeric and pointer holders, the
// value is copied all the same: the leading bytes of the source overwrite the leading bytes of
// the target value (a bool target becomes "first byte non-zero").  Targets that hold objects
// (strings, byte arrays, lists, holders of other classes) are never written across types.
//
// IsArray() is true only for the list holder and classes derived from it; the variant relies on
// that to treat the holder as a CKrVariantDataCKrListVariant.
#ifndef ORVIK_VARIANT_CKRVARIANTDATA_H
#define ORVIK_VARIANT_CKRVARIANTDATA_H

#include <cstddef>

#include "platform/KrTypes.h"
#include "strings/CKrStringW.h"
#include "types/CKrByteArray.h"
#include "variant/CKrListVariant.h"
#include "variant/CKrVariantRunType.h"

class ORVIK_API CKrVariantData {
public:
    // Which holder class an object is; lets the variant convert without comparing names.  A
    // holder class of a user passes krDATA_OTHER (the others name the library's own classes
    // and are taken at their word: krDATA_LIST is read as "derives from the list holder").
    enum EKrDataKind {
        krDATA_OTHER = 0,
        krDATA_INT32,
        krDATA_UINT32,
        krDATA_INT64,
        krDATA_UINT64,
        krDATA_DOUBLE,
        krDATA_BOOL,
        krDATA_VOIDPTR,
        krDATA_STRINGW,
        krDATA_BYTEARRAY,
        krDATA_LIST
    };

    virtual ~CKrVariantData();
    // Holders come from the library's pool of small objects (any thread may free what another
    // made); the size a delete receives is that of the holder's own class.
    static void *operator new(std::size_t size);
    static void operator delete(void *p, std::size_t size) noexcept;
    static void *operator new(std::size_t, void *where) noexcept { return where; }
    static void operator delete(void *, void *) noexcept {}
    virtual bool GetString(CKrStringW &out) const = 0;
    virtual bool SetString(wchar_t const *text) = 0;  // null reads as the empty text
    virtual bool SetString(CKrStringW const &text) = 0;
    // Equal run types and equal values (doubles compare with ==, so NaN is never equal).
    virtual bool IsEqual(CKrVariantData const &other) const = 0;
    // Address of the stored value; owned by the holder, valid while it lives.
    virtual void *GetValuePtr() = 0;
    virtual void GetValueCopy(CKrVariantData &target) const = 0;
    // A new holder of the same class with a zero, false, null or empty value; the caller owns it.
    virtual CKrVariantData *CreateEmpty() const = 0;
    virtual CKrVariantRunType const &GetRunType() const = 0;
    // Reports "Error: CKrVariantData::SetRunType(), can't set runtype!" unless `type` is the
    // current run type, and returns -9 either way.  The list holder overrides it.
    virtual int SetRunType(CKrVariantRunType const &type);
    virtual bool IsArray() const;

    EKrDataKind GetKind() const { return m_kind; }

protected:
    explicit CKrVariantData(EKrDataKind kind) : m_kind(kind) {}
    CKrVariantData(CKrVariantData const &) = default;
    CKrVariantData &operator=(CKrVariantData const &) = default;

private:
    EKrDataKind m_kind;
};

// The nine scalar holders share one shape: a value, its text form and its run type.
#define ORVIK_VARIANT_SCALAR_HOLDER(Class, Type)                  \
    class ORVIK_API Class : public CKrVariantData {               \
    public:                                                       \
        Class();                                                  \
        explicit Class(Type const &value);                        \
        explicit Class(Type &&value);                             \
        bool GetString(CKrStringW &out) const override;           \
        bool SetString(wchar_t const *text) override;             \
        bool SetString(CKrStringW const &text) override;          \
        bool IsEqual(CKrVariantData const &other) const override; \
        void *GetValuePtr() override;                             \
        void GetValueCopy(CKrVariantData &target) const override; \
        CKrVariantData *CreateEmpty() const override;             \
        CKrVariantRunType const &GetRunType() const override;     \
        static CKrVariantRunType const &GetOrigRunType();         \
        Type const &GetValue() const { return m_value; }          \
        Type &Value() { return m_value; }                         \
        void SetValue(Type const &value) { m_value = value; }     \
                                                                  \
    private:                                                      \
        Type m_value;                                             \
    }

ORVIK_VARIANT_SCALAR_HOLDER(CKrVariantDataKr_int32, kr_int32);
ORVIK_VARIANT_SCALAR_HOLDER(CKrVariantDataKr_uint32, kr_uint32);
ORVIK_VARIANT_SCALAR_HOLDER(CKrVariantDataKr_int64, kr_int64);
ORVIK_VARIANT_SCALAR_HOLDER(CKrVariantDataKr_uint64, kr_uint64);
ORVIK_VARIANT_SCALAR_HOLDER(CKrVariantDataDouble, double);
ORVIK_VARIANT_SCALAR_HOLDER(CKrVariantDataBool, bool);
ORVIK_VARIANT_SCALAR_HOLDER(CKrVariantDataVoidPtr, void *);
ORVIK_VARIANT_SCALAR_HOLDER(CKrVariantDataCKrStringW, CKrStringW);
ORVIK_VARIANT_SCALAR_HOLDER(CKrVariantDataCKrByteArray, CKrByteArray);

#undef ORVIK_VARIANT_SCALAR_HOLDER

// The list holder: ordered children plus a run-type name of its own.  A plain list is named
// "CKrListVariant" (GetOrigRunType); giving it another name through SetRunType makes it a
// record ("struct") of that type.
class ORVIK_API CKrVariantDataCKrListVariant : public CKrVariantData {
public:
    CKrVariantDataCKrListVariant();  // no children, plain list run type
    explicit CKrVariantDataCKrListVariant(CKrListVariant const &list);  // deep copy, plain run type
    ~CKrVariantDataCKrListVariant() override;

    // The text of a list is not a scalar text: GetString writes nothing and returns true;
    // SetString changes nothing and returns true (the XML reader builds lists element by element).
    bool GetString(CKrStringW &out) const override;
    bool SetString(wchar_t const *text) override;
    bool SetString(CKrStringW const &text) override;
    // Equal run-type names and equal children: named children are paired by name wherever they
    // stand, children named "no_name" by position (see CKrVariant's operator==).
    bool IsEqual(CKrVariantData const &other) const override;
    void *GetValuePtr() override;  // the CKrListVariant
    // Replaces the target's children by deep copies and gives it this list's run-type name.  A
    // target that is not a list holder is reported and left unchanged.
    void GetValueCopy(CKrVariantData &target) const override;
    CKrVariantData *CreateEmpty() const override;
    CKrVariantRunType const &GetRunType() const override;
    int SetRunType(CKrVariantRunType const &type) override;  // stores the name, returns 0
    bool IsArray() const override;

    static CKrVariantRunType const &GetOrigRunType();  // "CKrListVariant"
    CKrListVariant &GetList() { return m_list; }
    CKrListVariant const &GetList() const { return m_list; }
    // True while the stored run-type name is "CKrListVariant" (kept in step with the name, so
    // the hot paths need not compare strings).
    bool IsPlainList() const { return m_plain; }

private:
    CKrListVariant m_list;
    CKrVariantRunType m_runType;
    bool m_plain;
};

#endif
