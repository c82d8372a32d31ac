// CKrJsonArray: a JSON array kept as a list of item texts in insertion order.
//
// toString layouts (callers parse and compare them; the space before each further item is
// part of the format):
//   no items                              ""   (not "[]")
//   one item whose text has no line feed  [item]
//   otherwise                             [\r\n1,\r\n 2,\r\n 3\r\n]
#ifndef ORVIK_JSON_CKRJSONARRAY_H
#define ORVIK_JSON_CKRJSONARRAY_H

#include <string>
#include <vector>

#include "json/CKrJson.h"

class ORVIK_API CKrJsonArray : public CKrJson {
public:
    CKrJsonArray();
    CKrJsonArray(CKrJsonArray const &) = default;
    CKrJsonArray(CKrJsonArray &&) noexcept = default;
    CKrJsonArray &operator=(CKrJsonArray const &) = default;
    CKrJsonArray &operator=(CKrJsonArray &&) noexcept = default;
    ~CKrJsonArray() override;

    void addItem(CKrJson const &value);  // appends value.toString()
    int itemCount() const;

    CKrStringW toString() const override;

    bool isEmpty() const override;            // no items
    bool isArray(int *count) const override;  // always yes
    bool isItemAtIndexNull(int index) const override;
    bool isItemAtIndexBool(int index, bool *value) const override;
    bool isItemAtIndexInteger(int index, int *value) const override;
    bool isItemAtIndexDouble(int index, double *value) const override;
    bool isItemAtIndexString(int index, CKrStringW *value) const override;
    bool isItemAtIndexObject(int index, CKrJsonObject *value) const override;
    bool isItemAtIndexArray(int index, CKrJsonArray *value) const override;

private:
    friend class CKrJson;  // the readers fill m_items directly
    friend class CKrJsonObject;
    std::vector<std::wstring> m_items;

    std::wstring const *item(int index) const;
};

#endif
