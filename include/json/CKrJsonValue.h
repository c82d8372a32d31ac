// CKrJsonValue: one JSON scalar kept as its JSON text.
//
// Texts made by the constructors (callers compare them):
//   default, nullptr, null wchar_t pointer  "null"
//   int     printf "%d"                      42, -7
//   double  "%lf": fixed notation, six decimals, always a '.' whatever the locale (1.5 gives
//           1.500000; a non-finite value gives "inf", "-inf" or "nan", which are not JSON)
//   bool    "true" / "false"
//   text    the text between quotes as it stands, NOT escaped: a quote or backslash in it makes
//           invalid JSON.  Callers rely on this to pass already-escaped text; use
//           CKrJson::escapeString on plain text first.
#ifndef ORVIK_JSON_CKRJSONVALUE_H
#define ORVIK_JSON_CKRJSONVALUE_H

#include <cstddef>

#include "json/CKrJson.h"

class ORVIK_API CKrJsonValue : public CKrJson {
public:
    CKrJsonValue();
    CKrJsonValue(std::nullptr_t);
    CKrJsonValue(int value);
    CKrJsonValue(double value);
    CKrJsonValue(bool value);
    CKrJsonValue(wchar_t const *text);
    // 8-bit text would otherwise silently become a bool.
    CKrJsonValue(char const *) = delete;
    CKrJsonValue(CKrJsonValue const &other);
    CKrJsonValue(CKrJsonValue &&other) noexcept;  // leaves other with an empty text
    CKrJsonValue &operator=(CKrJsonValue const &other);
    CKrJsonValue &operator=(CKrJsonValue &&other) noexcept;
    ~CKrJsonValue() override;

    CKrStringW toString() const override;  // the text

    // The scalar queries answer from the text; isObject/isArray never answer yes for a value
    // built by the constructors.
    bool isNull() const override;
    bool isEmpty() const override;
    bool isBool(bool *value) const override;
    bool isInteger(int *value) const override;
    bool isDouble(double *value) const override;
    bool isString(CKrStringW *value) const override;
    bool isObject(std::vector<CKrStringW> *names) const override;
    bool isArray(int *count) const override;

private:
    CKrStringW m_text;
};

#endif
