// CKrList: the library's general container, a doubly linked list of borrowed item pointers.
//
// Each item sits in a node (CKrList::CKrNode) that may carry a key (CKrList::CKrKey).  A list is
// unkeyed (krKEY_NONE: items are appended or inserted by position) or keyed on integers or wide
// strings (items are appended with a key and found by it).
//
// Ownership: the list never owns its items.  It allocates and frees only its nodes; destroying
// or clearing a list leaves every item untouched.  Copies are shallow: both lists then point at
// the same items.
//
// Invariants: following the next links from GetFirst() visits exactly GetCount() nodes and ends
// at GetLast(); every linked node's list is this list.  Keys need not be unique: nothing checks
// for duplicates and every lookup returns the first match in list order.  Every lookup is a
// linear scan; there is no hashing and no ordering by key.
//
// Misuse never throws: it is reported through DiagAssertW (source "variant/CKrList") with the
// failing condition and a message, and the member returns its documented fallback (null, false,
// -9, or an unchanged key).  A failure to take the list lock is raised as std::system_error.
//
// Concurrency: every list has its own recursive lock.  Append, Insert, Clear, DetachNode,
// DeleteNode, Find, FirstThat, LastThat, ForEach, GetNth, IndexOf, copying, Sort and the
// destructor hold it for their whole run.  FirstThat, LastThat and ForEach call the caller's
// function while holding it, so that function may call back into the same list on the same
// thread (other threads wait).  A walk survives such re-entrant changes: when the callback
// detaches, deletes or clears nodes, the walk continues with the nodes that are still linked
// (nodes inserted ahead of the walk are visited too).  Destroying the list from inside its own
// callback is not supported.
// The simple reads (GetCount, GetFirst, GetLast, GetKeyType, GetData), SetKeyType and node
// navigation (GetNext, GetPrevious, CKrNode::IndexOf) take no lock; the count, ends and key type
// are read atomically, but a node handed out by a search is not protected once the search has
// returned: another thread may delete it.
#ifndef ORVIK_VARIANT_CKRLIST_H
#define ORVIK_VARIANT_CKRLIST_H

#include <atomic>
#include <concepts>
#include <cstdarg>
#include <mutex>

#include "platform/KrTypes.h"
#include "strings/CKrStringW.h"
#include "variant/EKrKeyType.h"

class ORVIK_API CKrList {
public:
    // ---- keys -------------------------------------------------------------------------------
    // A value type: the key type, an integer (meaningful for krKEY_INT) and a wide string
    // (meaningful for krKEY_STRING, empty otherwise).  The converting constructors are implicit
    // so that Append(5, item) and Find(L"name") read naturally.
    class ORVIK_API CKrKey {
    public:
        CKrKey();                     // krKEY_NONE, 0, empty string
        CKrKey(int value);            // krKEY_INT with that value, empty string
        CKrKey(const wchar_t *text);  // krKEY_STRING with that text (null: empty), integer 0
        CKrKey(const CKrKey &other);  // copies all three fields
        CKrKey &operator=(const CKrKey &other);
        ~CKrKey();

        EKrKeyType GetKeyType() const { return m_keyType; }
        int GetIntValue() const { return m_intValue; }
        const CKrStringW &GetStringValue() const { return m_stringValue; }

        // Copies the value of a key of the same type.  A different type reports "Error: Key
        // type mismatch." and leaves this key unchanged; krKEY_NONE copies nothing.
        void SetKey(const CKrKey &value);

        // Same type and same value.  Integers compare by value, strings exactly
        // (CKrStringW::Equals, case-sensitive).  Different types report "Error: Key type
        // mismatch." and give false.  Two krKEY_NONE keys report "Error: Bad key type." and give
        // false: an unkeyed node never matches any key, not even an empty one (callers rely on
        // Find never returning unkeyed nodes).
        bool operator==(const CKrKey &value) const;

    private:
        friend class CKrList;
        EKrKeyType m_keyType;
        int m_intValue;
        CKrStringW m_stringValue;
    };

    // ---- nodes ------------------------------------------------------------------------------
    // One per item.  Nodes are made by the list; a node obtained from the list stays owned by
    // the list until DetachNode hands it to the caller.
    class ORVIK_API CKrNode {
    public:
        // Copies the key, stores the item, records the owning list and links itself between the
        // two neighbours (either may be null).  It does not touch the list's ends or count: this
        // is the list's building block, not a way to add an item (use Append / Insert); a node
        // built directly into a list's chain leaves that list inconsistent.
        CKrNode(CKrList *list, CKrNode *previous, CKrNode *next, void *item, const CKrKey &key);
        // Copying copies the key, the item and the neighbour fields, but never the list
        // membership: a copy is a snapshot that belongs to no list, so destroying it leaves the
        // original's list alone.  Assignment copies the key and the item; a node that belongs
        // to a list keeps its own links and list (assigning never breaks a list), a free node
        // takes the source's neighbour fields as well.  The item slot always refers to the
        // node's own item.
        CKrNode(const CKrNode &other);
        CKrNode &operator=(const CKrNode &other);
        // A node still linked in a list first detaches itself from that list.
        ~CKrNode();

        CKrNode *GetNext() const { return m_next; }
        CKrNode *GetPrevious() const { return m_previous; }
        CKrList *GetList() const { return m_list; }  // null once detached
        void *GetItem() const { return m_item; }
        // The node's own item slot (writable).
        void *&GetItemRef() { return m_rItem; }
        CKrKey &GetNodeKey() { return m_key; }
        // SetKey on the node key: the new key must have the node key's type.
        void SetNodeKey(const CKrKey &key) { m_key.SetKey(key); }
        // Number of nodes before this one (walks the previous links, no lock).  A node that
        // belongs to no list reports "Node doesn't belong to a list in IndexOf()" and gives -9.
        int IndexOf() const;

    private:
        friend class CKrList;
        CKrKey m_key;
        void *m_item;
        void *&m_rItem;  // always this node's own m_item
        CKrNode *m_next;
        CKrNode *m_previous;
        CKrList *m_list;
    };

    // ---- construction ---------------------------------------------------------------------
    // An empty list keyed on `keyType`.
    explicit CKrList(EKrKeyType keyType);
    // An unkeyed list holding the `count` items of `items` in array order, null entries
    // included.  A null array gives an empty list.
    CKrList(unsigned int count, void *const *items);
    // An unkeyed list holding the arguments in order up to (not including) the first null one;
    // a null first argument gives an empty list.  Terminate the arguments with nullptr (a plain
    // 0 is an int and is not read back as a null pointer).
    CKrList(void *first, ...);
    // Empty list, then a shallow copy of `other` (its key type, keys and item pointers).
    CKrList(const CKrList &other);
    // Clears, then copies `other` shallowly.  Self-assignment changes nothing.
    CKrList &operator=(const CKrList &other);
    // Frees every node (not the items).  Virtual so that typed lists can be deleted through a
    // CKrList pointer.
    virtual ~CKrList();

    // ---- adding -----------------------------------------------------------------------------
    // Appends a node with a copy of `key`.  The key's type is not compared with the list's and
    // duplicates are accepted.  Returns the node (null only when it could not be allocated).
    CKrNode *Append(const CKrKey &key, void *item);
    // Unkeyed lists only: a keyed list reports "Error: Need a key for the object to append!"
    // and gives null without appending.
    CKrNode *Append(void *item);
    // index == GetCount() appends; otherwise inserts before GetNth(index).  An index beyond the
    // count therefore reports the GetNth error and inserts at the head (callers rely on it).
    CKrNode *Insert(unsigned int index, void *item);
    // Any integer index; without it Insert(0, item) would be ambiguous with the node overload.
    // A negative index wraps to a huge unsigned one (GetNth error, insertion at the head).
    template <std::integral I>
    CKrNode *Insert(I index, void *item) {
        return Insert(static_cast<unsigned int>(index), item);
    }
    // Unkeyed lists only ("Error: Need a key for the object to insert.", null).  Inserts
    // immediately before `position`; null inserts at the head.  A node of another list (or a
    // detached one) reports "Error: Can't insert before a node from another list." and gives
    // null.
    CKrNode *Insert(CKrNode *position, void *item);
    // Inserts at the head: Insert(nullptr, item).
    CKrNode *Insert(void *item);

    // ---- removing ---------------------------------------------------------------------------
    // Frees every node; items are untouched.
    void Clear();
    // Unlinks `node` without freeing it and hands it to the caller, who then owns it (deleting
    // it is then the caller's job).  Null reports "Error: Detaching NULL CKrNode."; a node of
    // another list, an already detached one or a copy (copies belong to no list) reports "Error:
    // Detaching node which is not from this list."; both give null.  The detached node keeps
    // its old next and previous fields.
    CKrNode *DetachNode(CKrNode *node);
    // DetachNode, then frees the node (not its item).  False when the detach failed.
    bool DeleteNode(CKrNode *node);

    // ---- lookup -----------------------------------------------------------------------------
    // First node whose key == `key`, else null.  A key of another type than the list's reports
    // "Error: This list is not keyed on the type of this key." and the search goes on anyway.
    // Note: a non-const wchar_t* argument selects Find(void*) below (a standard conversion beats
    // the key's converting constructor); pass a CKrKey to search a string key.
    CKrNode *Find(const CKrKey &key) const;
    // Find(CKrKey(key)); without it Find(0) would search for a null item.
    CKrNode *Find(int key) const { return Find(CKrKey(key)); }
    // First node holding exactly this pointer (identity, not content), else null.
    CKrNode *Find(void *item) const;
    // Calls `test` on the items from first to last (LastThat: from last to first) and returns
    // the first item for which it returns non-zero; null when there is none.
    void *FirstThat(int (*test)(void *));
    void *LastThat(int (*test)(void *));
    // Calls `fn` on every item from first to last; its results are ignored.
    // A null function (here and in Sort) reports "Error: NULL callback." and does nothing.
    void ForEach(int (*fn)(void *));

    unsigned int GetCount() const { return m_count.load(std::memory_order_acquire); }
    CKrNode *GetFirst() const { return m_first.load(std::memory_order_acquire); }
    CKrNode *GetLast() const { return m_last.load(std::memory_order_acquire); }
    EKrKeyType GetKeyType() const { return m_keyType.load(std::memory_order_acquire); }
    // The node's item; null for a null node or a node that does not belong to this list.
    void *GetData(CKrNode *node) const;
    // The node at zero-based position `n`.  Out of range reports "Error: Invalid index in
    // CKrList::GetNth()" and gives null.
    CKrNode *GetNth(unsigned int n) const;
    // The item of GetNth(n), or null (with the same report when out of range).
    void *operator[](unsigned int n) const;
    // Position of the first node holding `item`; -9 (not -1) when no node holds it.
    int IndexOf(void *item) const;

    // Meant for empty lists.  A non-empty list reports "m_count != 0" (no message) and takes the
    // new type all the same.
    void SetKeyType(EKrKeyType keyType);

    // Sorts the items with the C library's qsort and writes them back into the existing nodes
    // in list order.  `compare` receives, as qsort gives them, the addresses of two elements of
    // an array of item pointers (each argument is really a void**), not the items.  Nodes do
    // not move: keys stay where they are while the items are redistributed among them, so
    // sorting a keyed list separates keys from the items they were appended with (callers rely
    // on it).  Not stable.  If the array cannot be allocated the list is left unchanged.
    void Sort(int (*compare)(void *, void *));

protected:
    // Context-carrying forms used by the typed lists, so that a typed callback is always called
    // through its own function type.  `visit` returns non-zero to stop the walk.
    void *WalkItems(bool backwards, int (*visit)(void *context, void *item), void *context);
    void SortItems(int (*compare)(void *context, void *a, void *b), void *context);
    // Appends `first` and then the variadic arguments read as `read` gives them, up to the
    // first null one.
    void AppendUntilNull(void *first, void *(*read)(va_list &args), va_list &args);

private:
    // A walk in progress (FirstThat, LastThat, ForEach, Find by key).  Registered with the list
    // while it runs so that nodes unlinked by a re-entrant callback do not leave it dangling.
    struct WalkCursor {
        CKrNode *current;
        CKrNode *resume;  // where to go on when `current` was unlinked during the visit
        bool removed;
        bool backwards;
        WalkCursor *outer;
    };
    template <class Visit>
    CKrNode *Walk(bool backwards, Visit &&visit) const;

    void Init(EKrKeyType keyType);
    CKrNode *CreateNode(CKrNode *previous, CKrNode *next, void *item, const CKrKey &key);
    CKrNode *AppendCommon(CKrNode *node);
    void DoDeleteNode(CKrNode *node);
    void Set(const CKrList &list);
    // True when this list's chain really passes through `node` (its neighbours, or the ends,
    // point back at it).  Guards against a node built directly with the node constructor.
    bool IsLinked(const CKrNode *node) const;
    // Moves walk cursors off `node`, which is about to be unlinked.
    void NotifyUnlink(CKrNode *node) const;

    std::atomic<unsigned int> m_count;
    std::atomic<CKrNode *> m_first;
    std::atomic<CKrNode *> m_last;
    std::atomic<EKrKeyType> m_keyType;
    mutable std::recursive_mutex m_lock;
    mutable WalkCursor *m_cursors = nullptr;  // innermost walk first; guarded by m_lock
};

#endif
