// The record model behind the `orvik` Python module: an immutable tree of named, typed items
// that keeps duplicate names and writing order, and the conversions between it and CKrVariant.
//
// Records are never changed after they are built, so subtrees are shared freely between the
// Python objects that view them (a nested Record is a shared pointer to its Level).  A byte
// item does not own its bytes: it points into memory kept alive by its `owner` (the lite
// variant buffer it was read from, or a copy made when the record was built), which is what
// lets Python see a blob without copying it.
//
// Every walk over a whole tree (conversions, equality, teardown) uses an explicit stack, so a
// hostile file nested a million levels deep cannot exhaust the C++ stack.
#ifndef ORVIK_PYTHON_PYRECORD_H
#define ORVIK_PYTHON_PYRECORD_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

class CKrVariant;

namespace orvik::py {

// The value kinds, one per run type of the variant's value holders; List covers the plain list
// and every record type (the name is in Level::runtype).
enum class Kind : std::uint8_t {
    Null,
    Bool,
    Int32,
    UInt32,
    Int64,
    UInt64,
    Double,
    VoidPtr,
    String,
    Bytes,
    List,
};

// The variant's run-type name of a kind ("kr_int32", "CKrStringW", ...; "unknown" for Null,
// "CKrListVariant" for List).
char const *RunTypeName(Kind kind);
// The plain list run type.
inline constexpr char kPlainList[] = "CKrListVariant";
// The name the library gives a variant that has none; also the name of the items of a Python
// list, which the variant's equality pairs by position.
inline constexpr wchar_t kNoName[] = L"no_name";

struct Level;

// A read-only run of bytes and the object that keeps it alive.
struct Blob {
    unsigned char const *data = nullptr;
    std::size_t size = 0;
    std::shared_ptr<void const> owner;
};

// One named item.  `name` and `text` hold UTF-16 units, one per wchar_t, as CKrStringW does.
struct Item {
    std::wstring name;
    Kind kind = Kind::Null;
    bool b = false;                      // Bool
    std::int64_t i = 0;                  // Int32, Int64
    std::uint64_t u = 0;                 // UInt32, UInt64, VoidPtr
    double d = 0.0;                      // Double
    std::wstring text;                   // String
    Blob blob;                           // Bytes
    std::shared_ptr<Level const> level;  // List (never null for List)

    char const *RunType() const;  // the level's run type for List, RunTypeName(kind) otherwise
};

// The items of a list, in writing order, and the list's run-type name.
struct Level {
    std::string runtype = kPlainList;
    std::vector<Item> items;

    Level() = default;
    Level(Level const &) = delete;
    Level &operator=(Level const &) = delete;
    // Tears nested levels down one at a time instead of recursively.
    ~Level();

    // The first item of that name, null when none.
    Item const *Find(std::wstring const &name) const;
};

// What a Python Record object holds: a list item (name, run type via the level, children).
// `document` marks the top of a file that holds several items or a scalar, which has no name
// and no run type of its own; it is written back as those top-level items.
struct RecordView {
    std::wstring name;
    std::shared_ptr<Level const> level;
    bool document = false;

    Item AsItem() const;
};

// True when `name` is a name the variant accepts as it is (CKrVariant::ValidateName leaves it
// unchanged); such names are also valid XML element names.
bool IsVariantName(std::wstring const &name);
// True when `name` can be the run type of a list: the plain list type, or a record type named
// like a variant (not "unknown", not the name of a scalar run type).
bool IsListRunType(std::string const &name);

// True when both trees hold the same names, kinds, values and run types in the same order.
// Doubles compare by value, except that NaN equals NaN: two records read from the same bytes
// are equal.
bool Equal(Item const &a, Item const &b);

// The tree of `v` as an item (its name, kind and value; a list with all its descendants).
// Byte arrays are copied; everything else is taken by value.
Item ItemFromVariant(CKrVariant const &v);
// The variant of `item`.  Names are stored as they are (not validated: callers that need a
// valid name check it first); a list of another run type than the plain one keeps that name.
CKrVariant VariantFromItem(Item const &item);

}  // namespace orvik::py

#endif
