// The rows of `orvik tree` and `orvik get`: one row per node of any input form, printed as
// indented text or as a JSON array.
#ifndef ORVIK_TOOLS_TOOLTREE_H
#define ORVIK_TOOLS_TOOLTREE_H

#include <string>
#include <vector>

#include "platform/KrTypes.h"
#include "strings/CKrStringW.h"
#include "tools/ToolLvLayout.h"
#include "variant/CKrVariant.h"

class CKrXMLNode;

namespace orvik::tool {

struct TreeRow {
    int depth = 0;
    bool hasOffset = false;
    kr_uint64 offset = 0;
    std::string name;    // UTF-8
    std::string type;    // run type, item type, node kind or JSON kind
    std::string detail;  // the value, or a summary such as "(3 items)"
};

struct TreeOptions {
    int maxDepth = -1;  // rows deeper than this are left out (-1: all)
    bool full = false;  // whole strings and blobs instead of their first units or bytes
};

// Rows of a variant tree (starting at `depth`), of a decoded lite variant, of an XML node and
// its subtree, and of a JSON document (already checked to be well formed).
void variantRows(CKrVariant const &root, TreeOptions const &options, std::vector<TreeRow> &rows,
                 int depth = 0);
void layoutRows(LvLayout const &layout, unsigned char const *buffer, TreeOptions const &options,
                std::vector<TreeRow> &rows);
void xmlRows(CKrXMLNode *node, TreeOptions const &options, std::vector<TreeRow> &rows,
             int depth = 0);
void jsonRows(CKrStringW const &json, std::string const &name, TreeOptions const &options,
              std::vector<TreeRow> &rows, int depth = 0);

// The JSON text of the value at `path` in a JSON document (checked to be well formed): members
// and array indexes separated by "/" ("/stage/axes/0"; "" or "/" is the whole document).  False
// when a component is absent.  Numbers come back as the shortest text of their double value.
bool jsonAtPath(CKrStringW const &json, std::string const &path, CKrStringW &text);

// Indented text, one row per line (with an offset column when the rows have offsets).
std::string printRows(std::vector<TreeRow> const &rows);
// A JSON array of objects {"depth", "offset" (when known), "name", "type", "detail"}.
std::string printRowsJson(std::vector<TreeRow> const &rows);

// The value of a scalar variant as `get` prints it: numbers in full (a double as the shortest
// text that reads back the same), strings as they are, byte arrays in Base64.
std::string variantValueText(CKrVariant const &v);

}  // namespace orvik::tool

#endif
