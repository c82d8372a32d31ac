// CKrJson: base of the library's small JSON object model.
//
// Every value is kept as its JSON text.  An object is a name-ordered map from member name to the
// member's JSON text, an array a list of JSON texts, a scalar its own JSON text.  Nothing is
// converted when a document is read: the readers only locate the extent of each item, and a
// query scans the item's text again whenever it is asked.  The readers are shallow: they check
// the syntax of the level they read and only the extent of nested objects and arrays; a nested
// item is checked when it is itself queried or read.
//
// Failures are results, never exceptions: scanners return -1 with a message, readers return
// false with a message, queries answer no.  The message of the last failed query is kept in the
// object (lastError()).  Message texts are fixed (callers compare them), misspellings included.
//
// Texts.  A text ends at its first zero unit, as everywhere in the string class (copies and
// comparisons stop there too); units past it are never read.  Positions and lengths are in
// UTF-16 units and are ints: a text longer than INT_MAX units is not scanned (treated as empty).
// White space is what iswspace accepts (ASCII space, tab, CR, LF, VT, FF, and beyond ASCII
// whatever the current locale classes as space).
//
// Scalars.
//  - The literals null, true and false are matched without regard to case ("NULL", "True").
//  - Numbers: optional '-', one or more digits (leading zeros tolerated), optional fraction
//    ('.' and digits), optional exponent ('e' or 'E', optional sign, digits).  No '+' sign, no
//    leading '.', no NaN or Infinity.  A number is an INTEGER when it is written without
//    fraction and exponent ("2" yes; "2.0" and "2e0" no).  Its double value is the correctly
//    rounded nearest double (locale-independent); out-of-range magnitudes give +-HUGE_VAL or 0.
//    isInteger additionally requires the value to lie in the int range, else it answers no
//    (isDouble still answers yes).
//  - Strings: raw text between quotes; a backslash must start one of \" \\ \/ \b \f \n \r \t
//    or \u followed by four hex digits.  Other characters, control characters included, are
//    taken as they stand.
//
// Names.  Member names are kept, compared and written in their JSON source form: the text
// between the quotes with escape sequences as written (so "a\u0062" and "ab" are different
// names).  addItem takes names in that form too and does not escape them; escapeString() makes
// that form from plain text.
//
// String values delivered by the string queries ARE decoded: escapes become the characters they
// stand for, \uXXXX one UTF-16 unit (surrogate pairs therefore come out as two units).  A
// decoded \u0000 ends the delivered text, as the string class stops at a zero unit.
//
// Threading: one thread uses one object at a time (const queries update the last error text,
// and an object caches its name order).
#ifndef ORVIK_JSON_CKRJSON_H
#define ORVIK_JSON_CKRJSON_H

#include <vector>

#include "platform/KrTypes.h"
#include "strings/CKrStringW.h"

class CKrJsonObject;
class CKrJsonArray;

class ORVIK_API CKrJson {
public:
    CKrJson() = default;
    CKrJson(CKrJson const &) = default;
    CKrJson(CKrJson &&) = default;
    CKrJson &operator=(CKrJson const &) = default;
    CKrJson &operator=(CKrJson &&) = default;
    virtual ~CKrJson();

    // The JSON text of the value.  Layouts are fixed (callers parse and compare them):
    // see CKrJsonValue, CKrJsonObject and CKrJsonArray.
    virtual CKrStringW toString() const = 0;

    // ---- queries on the value itself ---------------------------------------------------------
    // Each answers yes or no; on yes, a non-null pointer receives the value.  On no, the output is
    // left unchanged.  The base answers no to everything; each class answers for its own kind.
    virtual bool isNull() const;
    // An object without members, an array without items, or a value whose text is empty (only a
    // moved-from value): whatever toString() would give as an empty string.
    virtual bool isEmpty() const;
    virtual bool isBool(bool *value) const;
    virtual bool isInteger(int *value) const;
    virtual bool isDouble(double *value) const;
    virtual bool isString(CKrStringW *value) const;
    virtual bool isObject(std::vector<CKrStringW> *names) const;  // names in name order
    virtual bool isArray(int *count) const;

    // ---- queries on an array item (no for an index out of range or on a non-array) -------------
    virtual bool isItemAtIndexNull(int index) const;
    virtual bool isItemAtIndexBool(int index, bool *value) const;
    virtual bool isItemAtIndexInteger(int index, int *value) const;
    virtual bool isItemAtIndexDouble(int index, double *value) const;
    virtual bool isItemAtIndexString(int index, CKrStringW *value) const;
    // The item is read into *value (replacing its contents) when value is not null.  Yes only when
    // the item reads as an object (array) without error; on no, *value is unchanged.
    virtual bool isItemAtIndexObject(int index, CKrJsonObject *value) const;
    virtual bool isItemAtIndexArray(int index, CKrJsonArray *value) const;

    // ---- queries on an object member (no for an absent name or on a non-object) ---------------
    virtual bool isItemWithNameNull(CKrStringW const &name) const;
    virtual bool isItemWithNameBool(CKrStringW const &name, bool *value) const;
    virtual bool isItemWithNameInteger(CKrStringW const &name, int *value) const;
    virtual bool isItemWithNameDouble(CKrStringW const &name, double *value) const;
    virtual bool isItemWithNameString(CKrStringW const &name, CKrStringW *value) const;
    virtual bool isItemWithNameObject(CKrStringW const &name, CKrJsonObject *value) const;
    virtual bool isItemWithNameArray(CKrStringW const &name, CKrJsonArray *value) const;

    // The message left by the last failed scan of a query or reader run on this object (empty
    // when none has failed since construction or clearLastError()).
    CKrStringW const &lastError() const { return m_error; }
    void clearLastError();

    // ---- reading ----------------------------------------------------------------------------
    // Reads one object: white space, "{", members, "}", white space, end of text.  On success
    // *target (when not null) holds exactly the members read; on failure it is unchanged and
    // *error (when not null) receives the message.  A null target only checks the text.
    // An object needs at least one member: "{}" and "{ }" fail with "Expected '\"' while
    // parsing Object!" (callers rely on the refusal; an empty object is written as nothing).
    // Repeated member names fail ("Duplicate member name while parsing Object!") rather than
    // silently dropping a value.  Anything but white space after the closing brace fails
    // ("Unexpected text after the end of Object!").
    static bool readObjectFromString(CKrStringW const &text, CKrJsonObject *target,
                                     CKrStringW *error);
    // The same for an array: "[]" and "[ ]" fail with "Expected value while parsing Array!";
    // trailing text: "Unexpected text after the end of Array!".
    static bool readArrayFromString(CKrStringW const &text, CKrJsonArray *target,
                                    CKrStringW *error);

    // Lays out any JSON document (an object, an array or a scalar) again, checking it fully at
    // every level.  Layout: one member or item per line, lines ended by "\r\n", nested lines
    // indented by makeIndentWithSpaces(depth, indent) (indent <= 0: no indentation), members
    // written as "name" : value.  Empty objects and arrays fail at any depth, with the readers'
    // messages ("Expected '\"' while parsing Object!", "Expected value while parsing Array!").
    // Literals come out in lower case, redundant leading zeros of numbers are dropped and raw
    // control characters in strings are escaped, so the result is always strict JSON and
    // reformat(reformat(x)) == reformat(x).  Returns an empty string and sets *error (when not
    // null) on failure; besides the readers' messages: "Expected value while reformatting!",
    // "Unexpected text after the end of the document!", "Nesting too deep while reformatting!"
    // (more than kMaxDepth levels) and "Output too large while reformatting!" (more than kMaxOutput
    // units).
    static CKrStringW reformat(CKrStringW const &text, CKrStringW *error, int indent);
    static constexpr int kMaxDepth = 1000;
    static constexpr size_t kMaxOutput = size_t(64) << 20;

    // level * width spaces; empty when the product is below 1.  A product above kMaxIndent is
    // reported through DiagAssertW and gives an empty string.
    static CKrStringW makeIndentWithSpaces(int level, int width);
    static constexpr kr_int64 kMaxIndent = kr_int64(1) << 20;

    // Helpers for callers that build documents (the constructors and addItem do not escape).
    // escapeString: plain text to the text between the quotes of a JSON string (\" \\ \b \f \n
    // \r \t, other control characters as \u00XX).  unescapeString: the reverse; false (and *plain
    // unchanged) when an escape is malformed.
    static CKrStringW escapeString(CKrStringW const &plain);
    static bool unescapeString(CKrStringW const &escaped, CKrStringW *plain);

protected:
    // Queries over a given text, scanned from position 0, leaving a scanner's message in the
    // last error text.  isStringObject/isStringArray read the text (shallowly) and answer yes only
    // when it reads without error.
    bool isStringNull(CKrStringW const &text) const;
    bool isStringBool(CKrStringW const &text, bool *value) const;
    bool isStringInteger(CKrStringW const &text, int *value) const;
    bool isStringDouble(CKrStringW const &text, double *value) const;
    bool isStringString(CKrStringW const &text, CKrStringW *value) const;
    bool isStringObject(CKrStringW const &text, CKrJsonObject *value) const;
    bool isStringArray(CKrStringW const &text, CKrJsonArray *value) const;

    // Scanners.  Each looks at the item starting at `pos` and returns its length in units, 0 when
    // no item of its kind starts there (also for pos outside the text), or -1 when one starts but
    // is malformed (message to *error when not null).  Outputs are written only on success.
    static int parseWhitespaces(CKrStringW const &text, int pos);  // count of white space units
    static int parseFinalNull(CKrStringW const &text, int pos, CKrStringW *error);
    static int parseFinalBool(CKrStringW const &text, int pos, bool *value, CKrStringW *error);
    static int parseFinalNumber(CKrStringW const &text, int pos, double *value, bool *isInteger,
                                CKrStringW *error);
    // quoted: the whole string with its quotes; inner: the text between them, escapes as written.
    static int parseFinalString(CKrStringW const &text, int pos, CKrStringW *quoted,
                                CKrStringW *inner, CKrStringW *error);
    // The extent of an object or array (nesting of its own kind counted, strings skipped); the
    // contents are not checked.  value: the item's text.
    static int parseObject(CKrStringW const &text, int pos, CKrStringW *value, CKrStringW *error);
    static int parseArray(CKrStringW const &text, int pos, CKrStringW *value, CKrStringW *error);
    // Any of the above (null, bool, number, string, object, array): the first that matches.
    // -1 when none matches and one of them reported a malformed item.
    static int parseValue(CKrStringW const &text, int pos, CKrStringW *value, CKrStringW *error);

    void setError(wchar_t const *message) const;

    mutable CKrStringW m_error;
};

#endif
