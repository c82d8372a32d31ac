// Runs the operations the input chooses on an unkeyed CKrList and on a plain model (a vector of
// node identities and items), and compares the two after every step: items in order, links and
// count, lookups, indexed reads.  The walks (FirstThat, LastThat, ForEach) run a callback that
// itself appends, inserts, deletes or clears on the same list, and the model predicts which items
// the walk visits: a node still linked after the callback leads to its successor; an unlinked
// one to the node that followed it when it was unlinked (itself moved on if that one goes too);
// Clear ends the walk.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "FuzzInput.h"
#include "platform/KrPlatform.h"
#include "variant/CKrList.h"

namespace {

using Input = FuzzInput;

int g_pool[16];  // the items: addresses of these; values repeat so that sorting meets ties

struct Entry {
    unsigned id;
    void *item;
};

// The model's view of a walk in progress.
struct ModelCursor {
    unsigned current = 0;  // 0: none
    bool removed = false;
    unsigned resume = 0;
    bool backwards = false;
};

struct Model {
    std::vector<Entry> entries;
    unsigned nextId = 1;
    ModelCursor *cursor = nullptr;

    size_t find(unsigned id) const {
        for (size_t k = 0; k < entries.size(); ++k)
            if (entries[k].id == id) return k;
        return SIZE_MAX;
    }
    unsigned step(size_t k, bool backwards) const {
        if (backwards) return k > 0 ? entries[k - 1].id : 0;
        return k + 1 < entries.size() ? entries[k + 1].id : 0;
    }
    void insert(size_t k, void *item) {
        entries.insert(entries.begin() + long(k), Entry{nextId++, item});
    }
    void remove(size_t k) {
        if (ModelCursor *c = cursor) {
            unsigned const id = entries[k].id, next = step(k, c->backwards);
            if (!c->removed && c->current == id)
                c->removed = true, c->resume = next;
            else if (c->removed && c->resume == id)
                c->resume = next;
        }
        entries.erase(entries.begin() + long(k));
    }
    void clear() {
        if (cursor) cursor->removed = true, cursor->resume = 0;
        entries.clear();
    }
};

CKrList *g_list = nullptr;
Model *g_model = nullptr;
Input *g_in = nullptr;
std::vector<void *> g_visited;
int g_changes = 0;  // changes made by callbacks in one walk, bounded so that walks end

std::vector<void *> itemsOf(const CKrList &list) {
    std::vector<void *> out;
    for (CKrList::CKrNode *node = list.GetFirst(); node; node = node->GetNext())
        out.push_back(node->GetItem());
    return out;
}

void compare(const CKrList &list, const Model &model) {
    FUZZ_CHECK(list.GetCount() == model.entries.size());
    CKrList::CKrNode *previous = nullptr;
    size_t k = 0;
    for (CKrList::CKrNode *node = list.GetFirst(); node; node = node->GetNext(), ++k) {
        FUZZ_CHECK(k < model.entries.size());
        FUZZ_CHECK(node->GetItem() == model.entries[k].item);
        FUZZ_CHECK(node->GetPrevious() == previous && node->GetList() == &list);
        previous = node;
    }
    FUZZ_CHECK(k == model.entries.size() && list.GetLast() == previous);
}

// One change of the list from inside a callback or from the top level, the same on both sides.
void change(CKrList &list, Model &model, Input &in) {
    void *item = &g_pool[in.byte() % 16];
    size_t const count = model.entries.size();
    size_t const index = count ? in.byte() % (count + 2) : 0;
    switch (in.byte() % 6) {
        case 0:
            list.Append(item);
            model.insert(count, item);
            break;
        case 1:  // an index beyond the count inserts at the head
            list.Insert(static_cast<unsigned>(index), item);
            model.insert(index <= count ? index : 0, item);
            break;
        case 2:
            list.Insert(index < count ? list.GetNth(static_cast<unsigned>(index)) : nullptr, item);
            model.insert(index < count ? index : 0, item);
            break;
        case 3:
            if (index < count) {
                FUZZ_CHECK(list.DeleteNode(list.GetNth(static_cast<unsigned>(index))));
                model.remove(index);
            }
            break;
        case 4:
            if (index < count) {
                delete list.DetachNode(list.GetNth(static_cast<unsigned>(index)));
                model.remove(index);
            }
            break;
        default:
            if (in.byte() % 4 == 0) {
                list.Clear();
                model.clear();
            }
            break;
    }
}

int visit(void *item) {
    g_visited.push_back(item);
    if (g_changes < 32 && g_in->byte() % 2) {
        ++g_changes;
        change(*g_list, *g_model, *g_in);
    }
    return g_in->byte() % 8 == 0;  // sometimes stop (FirstThat / LastThat)
}

// Walks the list with `visit` and the model alongside; both must see the same items.
void walk(CKrList &list, Model &model, Input &in, char kind) {
    g_list = &list;
    g_model = &model;
    g_in = &in;
    g_visited.clear();
    g_changes = 0;
    // The model runs after the list, replaying the callback's choices from the same input, from
    // the state before the walk (the callbacks' own model changes are thrown away).
    Input const replay = in;
    Model before = model;
    void *const found = kind == 'L'   ? list.LastThat(&visit)
                        : kind == 'F' ? list.FirstThat(&visit)
                                      : (list.ForEach(&visit), nullptr);
    std::vector<void *> const seen = g_visited;

    Input choices = replay;
    ModelCursor cursor;
    cursor.backwards = kind == 'L';
    cursor.current = before.entries.empty() ? 0
                                            : (cursor.backwards ? before.entries.back().id
                                                                : before.entries.front().id);
    before.cursor = &cursor;
    std::vector<void *> expected;
    void *expectedFound = nullptr;
    int changes = 0;
    while (cursor.current) {
        size_t const k = before.find(cursor.current);
        FUZZ_CHECK(k != SIZE_MAX);
        void *const item = before.entries[k].item;
        expected.push_back(item);
        cursor.removed = false;
        if (changes < 32 && choices.byte() % 2) {
            ++changes;
            // The change the callback made on the list, on the model only (as in change()).
            Model *m = &before;
            size_t const count = m->entries.size();
            void *newItem = &g_pool[choices.byte() % 16];
            size_t const index = count ? choices.byte() % (count + 2) : 0;
            switch (choices.byte() % 6) {
                case 0:
                    m->insert(count, newItem);
                    break;
                case 1:
                    m->insert(index <= count ? index : 0, newItem);
                    break;
                case 2:
                    m->insert(index < count ? index : 0, newItem);
                    break;
                case 3:
                case 4:
                    if (index < count) m->remove(index);
                    break;
                default:
                    if (choices.byte() % 4 == 0) m->clear();
                    break;
            }
        }
        bool const stop = choices.byte() % 8 == 0;
        if (stop && kind != 'E') {
            expectedFound = item;
            break;
        }
        if (cursor.removed) {
            cursor.current = cursor.resume;
        } else {
            size_t const at = before.find(cursor.current);
            cursor.current = before.step(at, cursor.backwards);
        }
    }
    before.cursor = nullptr;
    FUZZ_CHECK(seen == expected);
    FUZZ_CHECK(found == expectedFound);
    FUZZ_CHECK(in.n == choices.n);  // both consumed the same choices
    model = before;
    compare(list, model);
}

void ignoreReports(void *, int, const wchar_t *, const wchar_t *, const wchar_t *, int) {}

int ascending(void *a, void *b) {
    int const x = **static_cast<int **>(a), y = **static_cast<int **>(b);
    return (x > y) - (x < y);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    for (int k = 0; k < 16; ++k) g_pool[k] = k % 5;
    KrDiagHandler const previous =
        KR_SetDiagHandler(&ignoreReports, nullptr);  // index errors are part of the mix
    Input in{data, size};
    CKrList list(krKEY_NONE);
    Model model;
    for (int step = 0; in.n && step < 400; ++step) {
        switch (in.byte() % 8) {
            case 0:
            case 1:
            case 2:
                change(list, model, in);
                break;
            case 3:
                walk(list, model, in, 'F');
                break;
            case 4:
                walk(list, model, in, 'L');
                break;
            case 5:
                walk(list, model, in, 'E');
                break;
            case 6: {  // lookups and indexed reads
                void *item = &g_pool[in.byte() % 16];
                auto it = std::find_if(model.entries.begin(), model.entries.end(),
                                       [&](const Entry &e) { return e.item == item; });
                int const expected =
                    it == model.entries.end() ? -9 : int(it - model.entries.begin());
                FUZZ_CHECK(list.IndexOf(item) == expected);
                FUZZ_CHECK((list.Find(item) ? list.Find(item)->IndexOf() : -9) == expected);
                unsigned const index = in.byte();
                FUZZ_CHECK(list[index] ==
                           (index < model.entries.size() ? model.entries[index].item : nullptr));
                break;
            }
            default:
                if (in.byte() %
                    2) {  // items move among nodes that stay in place; ties in any order
                    list.Sort(&ascending);
                    std::vector<void *> const sorted = itemsOf(list);
                    std::vector<int> want, got;
                    for (const Entry &e : model.entries)
                        want.push_back(*static_cast<int *>(e.item));
                    for (void *p : sorted) got.push_back(*static_cast<int *>(p));
                    std::sort(want.begin(), want.end());
                    FUZZ_CHECK(got == want);
                    for (size_t k = 0; k < sorted.size(); ++k) model.entries[k].item = sorted[k];
                } else {  // copies, and assignment back over a cleared list
                    CKrList copy(list);
                    FUZZ_CHECK(itemsOf(copy) == itemsOf(list));
                    list.Clear();
                    FUZZ_CHECK(list.GetCount() == 0);
                    list = copy;
                }
                break;
        }
        compare(list, model);
    }
    KR_SetDiagHandler(previous, nullptr);
    return 0;
}
