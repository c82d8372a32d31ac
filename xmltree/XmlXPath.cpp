// The path-query subset of CKrXMLNode: entry points, the step evaluator and the filters.
#include <map>
#include <string>
#include <unordered_set>
#include <vector>

#include "platform/KrPlatform.h"
#include "strings/CKrStringUtils.h"
#include "xmltree/CKrXMLNode.h"
#include "xmltree/internal/XmlAttributeMap.h"
#include "xmltree/internal/XmlText.h"

using orvik::detail::IsSpecialPathChar;
using orvik::detail::kXmlTreeSource;

namespace {

// Names are trimmed of blanks only (tabs and line breaks are kept, like CKrStringW::Trim()).
std::wstring TrimBlanks(std::wstring const &s) {
    size_t b = s.find_first_not_of(L' ');
    if (b == std::wstring::npos) return std::wstring();
    size_t e = s.find_last_not_of(L' ');
    return s.substr(b, e - b + 1);
}

bool HasSpecialChar(std::wstring const &s) {
    for (wchar_t c : s)
        if (IsSpecialPathChar(c)) return true;
    return false;
}

void InvalidExpression(int line) {
    DiagOutputExW(kXmlTreeSource, line, L"Invalid xpath expresion.");
}

// Keeps the first occurrence of every entry (null included), in order.
void RemoveDuplicates(CKrXMLNodeSet &set) {
    if (set.size() < 2) return;
    std::unordered_set<CKrXMLNode *> seen;
    CKrXMLNodeSet unique;
    unique.Reserve(set.size());
    for (CKrXMLNode *n : set)
        if (seen.insert(n).second) unique.AddItem(n);
    if (unique.size() != set.size()) set = unique;
}

// Axis keywords in the order of EKrXPathAxis.
wchar_t const *const kAxisNames[] = {L"ancestor",  L"ancestor-or-self",  L"attribute",
                                     L"child",     L"descendant",        L"descendant-or-self",
                                     L"following", L"following-sibling", L"namespace",
                                     L"parent",    L"preceding",         L"preceding-sibling",
                                     L"self"};

}  // namespace

int CKrXMLNode::XPathGetNodeSet(CKrStringW const &path, CKrXMLNodeSet &result) {
    result.Clear();
    return XPathGetNodeSetInternal(path, result, nullptr, false);
}

CKrXMLNode *CKrXMLNode::XPathGetNode(CKrStringW const &path) {
    CKrXMLNodeSet set;
    if (XPathGetNodeSetInternal(path, set, nullptr, false) != 0) return nullptr;
    return set[0];
}

int CKrXMLNode::XPathGetNodeValue(CKrStringW const &path, CKrStringW &value, bool allowMany) {
    CKrXMLNodeSet set;
    CKrStringW attribute;
    int rc = XPathGetNodeSetInternal(path, set, &attribute, true);
    if (rc != 0) return rc;
    if (set.size() == 0) return 0;
    if (set.size() > 1 && !allowMany) return -101;
    CKrXMLNode *first = set[0];
    if (!first) return 0;  // a negative positional filter left only null entries
    if (!attribute.IsEmpty())
        first->GetAttr(attribute, value);  // a missing attribute leaves value as it was
    else
        value = first->Text();
    return 0;
}

int CKrXMLNode::XPathGetNodeSetInternal(CKrStringW const &path, CKrXMLNodeSet &result,
                                        CKrStringW *attributeName, bool allowAttribute) {
    std::wstring const &p = path.GetStdString();
    if (p.empty()) return -4;
    if (p == L"/") {
        CKrXMLNode *root = this;
        while (root->m_pParent) root = root->m_pParent;
        result.Clear();
        result.AddItem(root);
        return 0;
    }
    CKrXMLNodeSet context;
    context.AddItem(this);
    // A single leading "/" is dropped and the path still starts at this node; "//..." goes on
    // whole and is refused by the step evaluator.
    bool single = p[0] == L'/' && !(p.size() > 1 && p[1] == L'/');
    return ProcessXPath(single ? CKrStringW(p.substr(1)) : path, context, result, attributeName,
                        allowAttribute);
}

// One step per turn of the loop; the rest of the path is evaluated with the step's result as its
// context (iterative, so the number of steps is not limited by the stack).
int CKrXMLNode::ProcessXPath(CKrStringW pathIn, CKrXMLNodeSet context, CKrXMLNodeSet &result,
                             CKrStringW *attributeName, bool allowAttribute) {
    std::wstring path = pathIn.GetStdString();
    for (;;) {
        if (path.empty()) return -4;

        // A final attribute step.
        if (path[0] == L'@') {
            std::wstring name = TrimBlanks(path.substr(1));
            if (name.empty() || HasSpecialChar(name)) {
                InvalidExpression(__LINE__);
                return -4;
            }
            if (allowAttribute && attributeName) {
                *attributeName = CKrStringW(name);
                result = context;
                return 0;
            }
            DiagOutputExW(kXmlTreeSource, __LINE__,
                          L"ProcessXPath - Invalid parameters for xpath ending with attribute.");
            return -4;
        }

        // "//b" (descendant steps) is not supported; a doubled or trailing slash is invalid.
        if (path[0] == L'/')
            return (path.size() >= 3 && path[1] == L'/' && path[2] != L'/') ? -2 : -4;

        RemoveDuplicates(context);

        // Split off the step: name, filters, and the rest after the first free "/".
        bool inDouble = false, inSingle = false, afterFilter = false;
        int depth = 0;
        size_t nameEnd = std::wstring::npos, filterStart = 0, stepEnd = path.size();
        std::vector<CKrStringW> filters;
        for (size_t i = 0; i < path.size(); ++i) {
            wchar_t c = path[i];
            bool free = !inDouble && !inSingle && depth == 0;
            if (free && c == L'/') {
                stepEnd = i;
                break;
            }
            if (free && afterFilter) {
                if (c == L' ') continue;
                if (c != L'[') {
                    DiagOutputExW(kXmlTreeSource, __LINE__, L"Invalid token %c", c);
                    return -4;
                }
            }
            if (c == L'"' && !inSingle) {
                inDouble = !inDouble;
            } else if (c == L'\'' && !inDouble) {
                inSingle = !inSingle;
            } else if (inDouble || inSingle) {
                // quoted text
            } else if (c == L'[') {
                if (depth++ == 0) {
                    if (nameEnd == std::wstring::npos) nameEnd = i;
                    filterStart = i + 1;
                }
            } else if (c == L']' && depth > 0) {
                if (--depth == 0) {
                    if (i == filterStart) {
                        DiagOutputExW(kXmlTreeSource, __LINE__, L"Empty filter not allowed.");
                        return -4;
                    }
                    filters.emplace_back(path.substr(filterStart, i - filterStart));
                    afterFilter = true;
                }
            }
        }
        if (inDouble || inSingle || depth > 0) {
            InvalidExpression(__LINE__);
            return -4;
        }
        std::wstring rest;
        if (stepEnd < path.size()) {
            rest = path.substr(stepEnd);
            bool keep = rest == L"/" || (rest.size() > 1 && rest[1] == L'/');
            if (!keep) rest.erase(0, 1);
        }
        std::wstring name =
            TrimBlanks(path.substr(0, nameEnd == std::wstring::npos ? stepEnd : nameEnd));
        if (name.empty()) {
            InvalidExpression(__LINE__);
            return -4;
        }

        // "." and ".." always go on with the rest, even an empty one (which then fails).
        if (name == L"." || name == L"..") {
            if (!filters.empty()) {
                InvalidExpression(__LINE__);
                return -4;
            }
            if (name == L"..") {
                CKrXMLNodeSet parents;
                for (CKrXMLNode *n : context)
                    if (n && n->m_pParent) parents.AddItem(n->m_pParent);
                context = parents;
            }
            path = rest;
            continue;
        }

        size_t axisEnd = name.find(L"::");
        if (axisEnd != std::wstring::npos) {
            std::wstring word = name.substr(0, axisEnd);
            int axis = -1;
            for (int a = 0; a < static_cast<int>(sizeof(kAxisNames) / sizeof(kAxisNames[0])); ++a)
                if (word == kAxisNames[a]) axis = a;
            if (axis < 0) {
                DiagOutputExW(kXmlTreeSource, __LINE__, L"Unknown axis %s", word.c_str());
                return -4;
            }
            name.erase(0, axisEnd + 2);
            if (axis != krXPATH_CHILD) {
                DiagOutputExW(kXmlTreeSource, __LINE__, L"Just child axis supported");
                return -2;
            }
        }

        // These tests keep every child whatever its kind; callers rely on that.
        bool all = name == L"node()" || name == L"text()" || name == L"*" || name == L"comment()" ||
                   name == L"processinginstruction-instruction()" || name == L"@*";
        if (!all && HasSpecialChar(name)) {
            InvalidExpression(__LINE__);
            return -4;
        }
        CKrXMLNodeSet candidates;
        for (CKrXMLNode *n : context) {
            if (!n) continue;
            for (CKrXMLNode *c = n->m_pFirstChild; c; c = c->m_pSibling)
                if (all || (c->m_type == krXML_ELEMENT && c->m_content.GetStdString() == name))
                    candidates.AddItem(c);
        }
        if (!filters.empty()) {
            int rc = ProcessXPFilters(filters, candidates);
            if (rc != 0) return rc;
        }
        if (rest.empty()) {
            result = candidates;
            return 0;
        }
        context = candidates;
        path = rest;
    }
}

int CKrXMLNode::ProcessXPFilters(std::vector<CKrStringW> const &filters, CKrXMLNodeSet &nodes) {
    for (CKrStringW const &filterText : filters) {
        std::wstring const &f = filterText.GetStdString();
        int position = 0;
        CKrStringUtils::ToNumber(filterText, position);
        if (position != 0) {
            // n-th member of each parent's group; groups in the order of the parents' addresses.
            std::map<CKrXMLNode *, std::vector<CKrXMLNode *>> groups;
            for (CKrXMLNode *n : nodes)
                if (n) groups[n->m_pParent].push_back(n);
            CKrXMLNodeSet picked;
            for (auto const &group : groups) {
                if (position < 0)
                    picked.AddItem(nullptr);
                else if (group.second.size() >= static_cast<size_t>(position))
                    picked.AddItem(group.second[static_cast<size_t>(position) - 1]);
            }
            nodes = picked;
            continue;
        }

        // "@name", "@name='v'", "@name!='v'" (either quote; blanks allowed around the operator).
        bool supported = false;
        std::wstring name, op, value;
        bool hasValue = false;
        if (!f.empty() && f[0] == L'@') {
            size_t i = 1;
            while (i < f.size() && !IsSpecialPathChar(f[i])) ++i;
            name = TrimBlanks(f.substr(1, i - 1));
            while (i < f.size() && f[i] == L' ') ++i;
            while (i < f.size() && (f[i] == L'!' || f[i] == L'=')) op += f[i++];
            while (i < f.size() && f[i] == L' ') ++i;
            bool ok = true;
            if (i < f.size() && (f[i] == L'\'' || f[i] == L'"')) {
                size_t close = f.find(f[i], i + 1);
                if (close == std::wstring::npos) {
                    ok = false;
                } else {
                    value = f.substr(i + 1, close - i - 1);
                    hasValue = true;
                    i = close + 1;
                }
            }
            while (i < f.size() && f[i] == L' ') ++i;
            if (i != f.size()) ok = false;
            bool validOp = op.empty() ? !hasValue : ((op == L"=" || op == L"!=") && hasValue);
            supported = ok && !name.empty() && validOp;
        }
        if (!supported) {
            DiagOutputExW(kXmlTreeSource, __LINE__, L"xpath filter %s not implemented", f.c_str());
            continue;  // ignored
        }
        CKrStringW key(name);
        CKrXMLNodeSet kept;
        for (CKrXMLNode *n : nodes) {
            if (!n) continue;
            if (op.empty()) {
                if (n->AttrExist(key)) kept.AddItem(n);
                continue;
            }
            auto it = n->Attrs().find(key);
            bool equal =
                (it == n->Attrs().end() ? std::wstring() : it->second.GetStdString()) == value;
            if (equal == (op == L"=")) kept.AddItem(n);
        }
        nodes = kept;
    }
    return 0;
}
