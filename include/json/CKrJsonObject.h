// CKrJsonObject: a JSON object kept as a name-ordered map from member name to the member's JSON
// text.  Names are ordered by the string class's less-than (unit by unit), so output is in name
// order, not insertion order.  Names are in JSON source form (see CKrJson.h).
//
// toString layouts (callers parse and compare them):
//   no members                              ""   (not "{}")
//   one member whose text has no line feed  {"name" : value}
//   otherwise                               {\r\n"a" : 1,\r\n"b" : 2\r\n}
// Names are written between quotes as stored; values as stored, so a nested item keeps whatever
// layout its own toString or the input gave it.  An empty nested object or array added with
// addItem is stored as its empty toString and so writes as nothing after the colon (not JSON);
// this is kept because stored documents rely on the empty form.  The readers refuse "{}" and
// "[]", so an object or array read from text is never empty.
#ifndef ORVIK_JSON_CKRJSONOBJECT_H
#define ORVIK_JSON_CKRJSONOBJECT_H

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "json/CKrJson.h"

// The members of an object; an implementation detail, here only because objects hold it by
// value.  Names and texts are packed back to back in two buffers (one allocation each instead of
// two per member).  Entries stay in insertion order; a hash index finds a name, and the name
// order is built when first needed (output, name lists) and kept until the next change.
struct KrJsonMemberTable {
    struct Entry {
        size_t name, nameLength;  // in names; a name holds no zero unit
        size_t text, textLength;  // in texts
    };
    std::wstring names;
    std::wstring texts;
    std::vector<Entry> entries;            // insertion order, names unique
    std::vector<kr_uint32> slots;          // open addressing: entry index + 1, 0 empty
    mutable std::vector<kr_uint32> order;  // entry indexes in name order, when orderValid
    mutable bool orderValid = true;
};

class ORVIK_API CKrJsonObject : public CKrJson {
public:
    CKrJsonObject();
    // Each pair is added with addItem in turn: a repeated name keeps the first value.
    CKrJsonObject(CKrStringW const &name1, CKrJson const &value1);
    CKrJsonObject(CKrStringW const &name1, CKrJson const &value1, CKrStringW const &name2,
                  CKrJson const &value2);
    CKrJsonObject(CKrStringW const &name1, CKrJson const &value1, CKrStringW const &name2,
                  CKrJson const &value2, CKrStringW const &name3, CKrJson const &value3);
    CKrJsonObject(CKrJsonObject const &) = default;
    CKrJsonObject(CKrJsonObject &&) noexcept = default;
    CKrJsonObject &operator=(CKrJsonObject const &) = default;
    CKrJsonObject &operator=(CKrJsonObject &&) noexcept = default;
    ~CKrJsonObject() override;

    // Stores value.toString() under name and returns true; returns false and changes nothing
    // when the name is already present.
    bool addItem(CKrStringW const &name, CKrJson const &value);

    CKrStringW toString() const override;

    bool isEmpty() const override;                                 // no members
    bool isObject(std::vector<CKrStringW> *names) const override;  // always yes
    bool isItemWithNameNull(CKrStringW const &name) const override;
    bool isItemWithNameBool(CKrStringW const &name, bool *value) const override;
    bool isItemWithNameInteger(CKrStringW const &name, int *value) const override;
    bool isItemWithNameDouble(CKrStringW const &name, double *value) const override;
    bool isItemWithNameString(CKrStringW const &name, CKrStringW *value) const override;
    bool isItemWithNameObject(CKrStringW const &name, CKrJsonObject *value) const override;
    bool isItemWithNameArray(CKrStringW const &name, CKrJsonArray *value) const override;

private:
    friend class CKrJson;  // the readers fill m_members directly
    friend class CKrJsonArray;
    KrJsonMemberTable m_members;

    // The text of the member with the name, or false.
    bool find(CKrStringW const &name, std::wstring_view *text) const;
};

#endif
