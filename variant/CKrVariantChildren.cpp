// CKrVariant: children, searches, structure comparison and the record factories.
#include <cstdarg>
#include <deque>
#include <utility>
#include <vector>

#include "platform/KrPlatform.h"
#include "variant/CKrVariant.h"
#include "variant/internal/VariantTree.h"

namespace {

using Lock = std::lock_guard<std::recursive_mutex>;
using Items = CKrVariantAccess::Items;

void reportNotArray(int line) {
    DiagAssertW(L"(!m_pData || !m_pData->IsArray())", KR_VARIANT_SOURCE, line,
                L"Error: invalid variant runtype for array operation.");
}

bool nameIs(CKrVariant const &v, wchar_t const *name) {
    std::wstring const &s = v.GetName().GetStdString();
    return s.compare(name) == 0;
}

CKrVariantRunType const &plainList() { return CKrVariantDataCKrListVariant::GetOrigRunType(); }

// True when `node` is `root` or lies anywhere below it.  An explicit stack: trees may be deep.
bool isWithin(CKrVariant const &root, CKrVariant const *node) {
    if (&root == node) return true;
    CKrVariantDataCKrListVariant const *list = CKrVariantAccess::ListOf(root);
    if (!list) return false;
    Lock guard(CKrListVariant::GetLock());
    std::vector<CKrListVariant const *> pending{&list->GetList()};
    while (!pending.empty()) {
        CKrListVariant const *current = pending.back();
        pending.pop_back();
        for (CKrVariant const *child : CKrVariantAccess::ItemsOf(*current)) {
            if (child == node) return true;
            if (child)
                if (CKrVariantDataCKrListVariant const *sub = CKrVariantAccess::ListOf(*child))
                    pending.push_back(&sub->GetList());
        }
    }
    return false;
}

// GetRunType() == plainList() without comparing names for the usual case, a list holder.
bool holdsPlainList(CKrVariantData const *data) {
    if (data->IsArray())
        return static_cast<CKrVariantDataCKrListVariant const *>(data)->IsPlainList();
    return data->GetRunType() == plainList();
}

}  // namespace

// ---- children --------------------------------------------------------------------------------

int CKrVariant::GetCount() const {
    CKrVariantDataCKrListVariant *list = listHolder();
    return list ? list->GetList().Number() : -1;
}

CKrVariant const *CKrVariant::IndexPtr(int index) const {
    CKrVariantDataCKrListVariant *list = listHolder();
    if (!list) {
        reportNotArray(__LINE__);
        return nullptr;
    }
    return list->GetList().GetAt(index);
}

CKrVariant *CKrVariant::IndexPtr(int index) {
    return const_cast<CKrVariant *>(static_cast<CKrVariant const *>(this)->IndexPtr(index));
}

CKrVariant &CKrVariant::operator[](kr_uint64 index) {
    CKrVariant *child = IndexPtr(index > 0x7fffffffULL ? -1 : static_cast<int>(index));
    return child ? *child : GetNullVariant();
}

CKrVariant &CKrVariant::operator[](wchar_t const *name) {
    CKrVariant *child = SearchFixedOneLevel(name);
    return child ? *child : GetNullVariant();
}

int CKrVariant::IndexOf(CKrStringW const &name) const {
    CKrVariantDataCKrListVariant *list = listHolder();
    if (!list) return -1;
    std::wstring const &wanted = name.GetStdString();
    Lock guard(CKrListVariant::GetLock());
    Items const &items = CKrVariantAccess::ItemsOf(list->GetList());
    for (size_t i = 0; i < items.size(); ++i) {
        CKrVariant const *varCurrent = items[i];
        if (varCurrent == nullptr) {
            KR_REPORTW(L"varCurrent == NULL", KR_VARIANT_SOURCE, L"varCurrent == NULL");
            return -1;
        }
        if (varCurrent->m_name.GetStdString() == wanted) return static_cast<int>(i);
    }
    return -1;
}

// Step 2 of adding a child: a list keeps its children but loses a record name (callers rely on
// records turning into plain lists when members are added or removed); anything else is
// replaced by an empty list.
CKrVariantDataCKrListVariant *CKrVariant::prepareListForAdd() {
    if (CKrVariantDataCKrListVariant *list = listHolder()) {
        if (!list->IsPlainList()) list->SetRunType(plainList());
        return list;
    }
    CKrVariantData *old = m_pData;
    m_pData = new CKrVariantDataCKrListVariant();
    delete old;
    return static_cast<CKrVariantDataCKrListVariant *>(m_pData);
}

CKrVariant &CKrVariant::Append(CKrVariant const &item) {
    if (m_pData && !m_enabledTypeChange && !holdsPlainList(m_pData)) {
        KR_REPORTW(L"true", KR_VARIANT_SOURCE,
                   L"Error: invalid variant type (%hs) for array operation.",
                   GetRunType().GetName().GetString());
        return GetNullVariant();
    }
    // Copy before the holder changes: `item` may be this variant or live inside it.
    CKrVariant *copy = new CKrVariant(item);
    return *prepareListForAdd()->GetList().Append(copy);
}

CKrVariant &CKrVariant::Append(CKrVariant &&item) {
    // Moving this variant or one of its ancestors into it would make the tree own itself:
    // such an item is copied instead (the copying Append copes with it), and keeps its value.
    if (isWithin(item, this)) return Append(static_cast<CKrVariant const &>(item));
    if (m_pData && !m_enabledTypeChange && !holdsPlainList(m_pData)) {
        KR_REPORTW(L"true", KR_VARIANT_SOURCE,
                   L"Error: invalid variant type (%hs) for array operation.",
                   GetRunType().GetName().GetString());
        return GetNullVariant();
    }
    CKrVariant *moved = new CKrVariant(std::move(item));
    return *prepareListForAdd()->GetList().Append(moved);
}

CKrVariant &CKrVariant::Insert(CKrVariant const &item, int index) {
    if (m_pData && !m_enabledTypeChange && GetRunType() != plainList()) {
        KR_REPORTW(
            L"(m_pData && !m_enabledTypeChange && GetRunType() != "
            L"CKrVariantDataCKrListVariant::GetOrigRunType() )",
            KR_VARIANT_SOURCE, L"Error: invalid variant type for array operation.");
        return GetNullVariant();
    }
    CKrVariant *copy = new CKrVariant(item);
    CKrListVariant &list = prepareListForAdd()->GetList();
    int iIdx = index;
    if (iIdx < 0) {
        delete copy;
        KR_REPORTW(L"iIdx < 0", KR_VARIANT_SOURCE, L"");
        return GetNullVariant();
    }
    list.Insert(copy, iIdx);  // above the count: nothing inserted, the copy is destroyed
    return GetNullVariant();
}

int CKrVariant::SetOrAppend(CKrStringW const &name, CKrVariant const &value) {
    int index = IndexOf(name);
    if (index >= 0) {
        CKrVariant *child = IndexPtr(index);
        if (!child) return -9;
        *child = value;
        return index;
    }
    CKrVariant copy(value);
    copy.m_name = name;
    ValidateName(copy.m_name);
    Append(std::move(copy));
    return -1;
}

bool CKrVariant::Delete(unsigned int item) {
    if (!m_enabledTypeChange && GetRunType() != plainList()) {
        KR_REPORTW(
            L"(!m_enabledTypeChange && GetRunType() != "
            L"CKrVariantDataCKrListVariant::GetOrigRunType() )",
            KR_VARIANT_SOURCE, L"Error: can't delete member in this runtype.");
        return false;
    }
    CKrVariantDataCKrListVariant *holder = listHolder();
    if (!holder) {
        reportNotArray(__LINE__);
        return false;
    }
    CKrListVariant &list = holder->GetList();
    // An index above INT_MAX reads as negative once signed: invalid as well.
    if ((signed)item >= list.Number() || (signed)item < 0) {
        KR_REPORTW(L"((signed)item >= list.Number())", KR_VARIANT_SOURCE,
                   L"Error: invalid index to delete!");
        return false;
    }
    if (!holder->IsPlainList()) holder->SetRunType(plainList());
    return list.Delete(static_cast<int>(item));
}

CKrVariant &CKrVariant::ClearList() {
    if (!m_pData) return *this;
    bool plain = GetRunType() == plainList();
    if (!plain && !m_enabledTypeChange) {
        KR_REPORTW(
            L"(!m_enabledTypeChange && GetRunType() != "
            L"CKrVariantDataCKrListVariant::GetOrigRunType() )",
            KR_VARIANT_SOURCE, L"Error: can't ClearList in this runtype.");
        return *this;
    }
    if (!plain) {
        // Kept as callers rely on it: the run type becomes the plain list, nothing is cleared.
        if (CKrVariantDataCKrListVariant *list = listHolder()) {
            list->SetRunType(plainList());
        } else {
            CKrVariantData *old = m_pData;
            m_pData = new CKrVariantDataCKrListVariant();
            delete old;
        }
        return *this;
    }
    listHolder()->GetList().RemoveAll();
    return *this;
}

bool CKrVariant::Member(CKrVariant const &value) const {
    CKrVariantDataCKrListVariant *list = listHolder();
    if (!list) {
        KR_REPORTW(L"(!m_pData || !m_pData->IsArray())", KR_VARIANT_SOURCE,
                   L"Error: invalid variant type for array operation.");
        return false;
    }
    Lock guard(CKrListVariant::GetLock());
    for (CKrVariant const *varCurrent : CKrVariantAccess::ItemsOf(list->GetList())) {
        if (varCurrent == nullptr) {
            KR_REPORTW(L"varCurrent == NULL", KR_VARIANT_SOURCE, L"varCurrent == NULL");
            return false;
        }
        if (!value.m_pData) {
            if (!varCurrent->m_pData) return true;
        } else if (varCurrent->m_pData && varCurrent->m_pData->IsEqual(*value.m_pData)) {
            return true;
        }
    }
    return false;
}

// ---- search ----------------------------------------------------------------------------------

CKrVariant const *CKrVariant::searchLow(bool fixed, wchar_t const *first, va_list args) const {
    if (!first) return nullptr;
    std::vector<wchar_t const *> names;
    for (wchar_t const *n = first; n; n = va_arg(args, wchar_t const *)) names.push_back(n);

    CKrVariant const *current = this;
    std::deque<CKrVariant const *> queue;
    for (wchar_t const *name : names) {
        if (fixed) {
            current = current->SearchFixedOneLevel(name);
            if (!current) return nullptr;
            continue;
        }
        // Breadth-first from `current`, the node itself first.
        if (!nameIs(*current, name) && !current->listHolder()) {
            reportNotArray(__LINE__);
            return nullptr;
        }
        queue.clear();
        queue.push_back(current);
        CKrVariant const *found = nullptr;
        while (!queue.empty()) {
            CKrVariant const *node = queue.front();
            queue.pop_front();
            if (nameIs(*node, name)) {
                found = node;
                break;
            }
            if (CKrVariantDataCKrListVariant *list = node->listHolder()) {
                Lock guard(CKrListVariant::GetLock());
                for (CKrVariant const *child : CKrVariantAccess::ItemsOf(list->GetList()))
                    if (child) queue.push_back(child);
            }
        }
        if (!found) return nullptr;
        current = found;
    }
    return current;
}

CKrVariant const *CKrVariant::Search(wchar_t const *name, ...) const {
    va_list args;
    va_start(args, name);
    CKrVariant const *found = searchLow(false, name, args);
    va_end(args);
    return found;
}

CKrVariant *CKrVariant::Search(wchar_t const *name, ...) {
    va_list args;
    va_start(args, name);
    CKrVariant const *found = searchLow(false, name, args);
    va_end(args);
    return const_cast<CKrVariant *>(found);
}

CKrVariant const *CKrVariant::SearchFixed(wchar_t const *name, ...) const {
    va_list args;
    va_start(args, name);
    CKrVariant const *found = searchLow(true, name, args);
    va_end(args);
    return found;
}

CKrVariant *CKrVariant::SearchFixed(wchar_t const *name, ...) {
    va_list args;
    va_start(args, name);
    CKrVariant const *found = searchLow(true, name, args);
    va_end(args);
    return const_cast<CKrVariant *>(found);
}

CKrVariant const *CKrVariant::SearchFixedOneLevel(wchar_t const *name) const {
    if (!name) return nullptr;
    CKrVariantDataCKrListVariant *list = listHolder();
    if (!list) {
        reportNotArray(__LINE__);
        return nullptr;
    }
    Lock guard(CKrListVariant::GetLock());
    for (CKrVariant const *child : CKrVariantAccess::ItemsOf(list->GetList()))
        if (child && nameIs(*child, name)) return child;
    return nullptr;
}

CKrVariant *CKrVariant::SearchFixedOneLevel(wchar_t const *name) {
    return const_cast<CKrVariant *>(
        static_cast<CKrVariant const *>(this)->SearchFixedOneLevel(name));
}

CKrVariant const *CKrVariant::SearchRecursiveLow(
    std::function<bool(CKrVariant const *)> const &test) const {
    if (!test) return nullptr;
    // Pre-order with an explicit stack: children are pushed in reverse so the first comes out
    // first.  `test` runs without the list lock.
    std::vector<CKrVariant const *> stack{this};
    while (!stack.empty()) {
        CKrVariant const *node = stack.back();
        stack.pop_back();
        if (test(node)) return node;
        if (CKrVariantDataCKrListVariant *list = node->listHolder()) {
            Lock guard(CKrListVariant::GetLock());
            Items const &items = CKrVariantAccess::ItemsOf(list->GetList());
            for (auto it = items.rbegin(); it != items.rend(); ++it)
                if (*it) stack.push_back(*it);
        }
    }
    return nullptr;
}

CKrVariant const *CKrVariant::SearchRecursive(std::function<bool(CKrVariant const *)> test) const {
    return SearchRecursiveLow(test);
}

CKrVariant *CKrVariant::SearchRecursive(std::function<bool(CKrVariant const *)> test) {
    return const_cast<CKrVariant *>(SearchRecursiveLow(test));
}

// ---- structure and factories -----------------------------------------------------------------

int CKrVariant::CompareStructure(CKrVariant const &a, CKrVariant const &b, bool recursive) {
    Lock guard(CKrListVariant::GetLock());
    std::vector<std::pair<CKrVariant const *, CKrVariant const *>> stack{{&a, &b}};
    while (!stack.empty()) {
        auto [x, y] = stack.back();
        stack.pop_back();
        CKrVariantDataCKrListVariant *lx = x->listHolder();
        CKrVariantDataCKrListVariant *ly = y->listHolder();
        int cx = lx ? static_cast<int>(CKrVariantAccess::ItemsOf(lx->GetList()).size()) : -1;
        int cy = ly ? static_cast<int>(CKrVariantAccess::ItemsOf(ly->GetList()).size()) : -1;
        if (cx != cy) return -1;
        if (lx && ly) {
            if (!recursive) {
                if (lx->GetRunType() != ly->GetRunType()) return -1;
                continue;
            }
            Items const &ix = CKrVariantAccess::ItemsOf(lx->GetList());
            Items const &iy = CKrVariantAccess::ItemsOf(ly->GetList());
            for (size_t i = 0; i < ix.size(); ++i)
                stack.push_back(
                    {ix[i] ? ix[i] : &GetNullVariant(), iy[i] ? iy[i] : &GetNullVariant()});
        } else if (x->GetRunType() != y->GetRunType()) {
            return -1;
        }
    }
    return 0;
}

namespace {
CKrVariant makeStruct(CKrVariantRunType const *type, CKrStringW const &name,
                      std::vector<CKrVariant const *> const &items) {
    CKrVariant result(CKrListVariant(), name);
    CKrListVariant &list = result.GetCKrListVariant();
    for (CKrVariant const *item : items)
        if (item) list.Append(new CKrVariant(*item));
    if (type)
        static_cast<CKrVariantDataCKrListVariant *>(CKrVariantAccess::DataOf(result))
            ->SetRunType(*type);
    return result;
}

std::vector<CKrVariant const *> collect(CKrVariant const *first, va_list args) {
    std::vector<CKrVariant const *> items;
    for (CKrVariant const *p = first; p; p = va_arg(args, CKrVariant const *)) items.push_back(p);
    return items;
}

std::vector<CKrVariant const *> collect(std::initializer_list<CKrVariant> const &list) {
    std::vector<CKrVariant const *> items;
    for (CKrVariant const &v : list) items.push_back(&v);
    return items;
}
}  // namespace

CKrVariant CKrVariant::CreateStruct(CKrStringW const &name, CKrVariant const *first, ...) {
    va_list args;
    va_start(args, first);
    std::vector<CKrVariant const *> items = collect(first, args);
    va_end(args);
    return makeStruct(nullptr, name, items);
}

CKrVariant CKrVariant::CreateStruct(CKrStringW const &name,
                                    std::initializer_list<CKrVariant> items) {
    return makeStruct(nullptr, name, collect(items));
}

CKrVariant CKrVariant::CreateStructNamed(CKrVariantRunType const &type, CKrStringW const &name,
                                         CKrVariant const *first, ...) {
    va_list args;
    va_start(args, first);
    std::vector<CKrVariant const *> items = collect(first, args);
    va_end(args);
    return makeStruct(&type, name, items);
}

CKrVariant CKrVariant::CreateStructNamed(CKrVariantRunType const &type, CKrStringW const &name,
                                         std::initializer_list<CKrVariant> items) {
    return makeStruct(&type, name, collect(items));
}
