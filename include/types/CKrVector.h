// The typed vectors: eight exported dynamic arrays, one class per element type, used where
// element sequences cross the library's interface.
//
//   CKrVector_double  CKrVector_kr_int32  CKrVector_kr_int64  CKrVector_kr_uint32
//   CKrVector_kr_uint8  CKrVector_VoidPtr  CKrVector_CKrStringW  CKrVector_CKrByteArray
//
// All eight are one implementation, CKrVectorT<T>, instantiated in the library for these element
// types only.  A vector keeps its elements in one zero-filled block from CKrAlloc (alignment 16)
// with 32-bit counts.
//
// Growth when the count has reached the capacity: push_back and the copy constructor grow a
// capacity c to 128 when c < 2, otherwise to floor(c ^ 1.3); insert uses floor(c ^ 1.5)
// (128 -> 548 and 128 -> 1448).  Callers tuned their reserve calls to these two rules.  When
// the formula would not grow the block (c = 2) it grows by one place; it stops at 2^32 - 1.
//
// Locking: every member of every vector of all eight classes holds one process-wide recursive
// mutex for its whole duration, so vectors can be shared between threads without locks of their
// own.  A reference returned by at() is used outside the lock; it stays valid until the next
// change of that vector.
//
// Failure: when the block cannot be grown, reserve reports through DiagAssertW (condition
// "m_elementBase == NULL", message "Error: reallocation failed!", source types/CKrVector) and
// the vector becomes empty (its old elements are released).  A push_back that could not grow
// then stores nothing; insert returns -3.
//
// Class elements (CKrStringW, CKrByteArray) are relocated by move construction when the block
// grows, never byte for byte: the standard library's strings may point into themselves.
#ifndef ORVIK_TYPES_CKRVECTOR_H
#define ORVIK_TYPES_CKRVECTOR_H

#include <type_traits>

#include "platform/KrTypes.h"
#include "strings/CKrStringW.h"
#include "types/CKrByteArray.h"

template <typename T>
class ORVIK_API CKrVectorT {
public:
    // What m_undefined is: the element itself for plain types, a pointer to a default-constructed
    // element owned by the class for the class types.
    using UndefinedType = std::conditional_t<std::is_class_v<T>, T *, T>;

    // Empty, then reserve(capacity); the default constructor reserves 128 places.
    CKrVectorT();
    explicit CKrVectorT(unsigned int capacity);
    // reserve(source capacity), then appends the source elements in order (push_back's growth).
    CKrVectorT(CKrVectorT const &other);
    ~CKrVectorT();  // clear()
    // clear(), reserve(source capacity), push_back of each source element.  Self-assignment
    // changes nothing.
    CKrVectorT const &operator=(CKrVectorT const &other);

    // The element at `index`, or the class-wide undefined element when `index` >= size().
    // Writing through the undefined element changes what later out-of-range reads return.
    T &at(unsigned int index);
    T const &at(unsigned int index) const;
    T at_safe(unsigned int index) const;  // a copy of at(index)

    unsigned int size() const;
    unsigned int capacity() const;
    bool empty() const;

    // Destroys (class types) or zeroes (plain types) every element and frees the block.
    void clear();
    // index < size(): the following elements move down one place, the last place is cleared,
    // returns 0.  Otherwise -4 and nothing changes.
    int erase(unsigned int index);
    // index <= size(): grows when full (insert's rule), moves the elements from `index` up one
    // place and stores a copy of `value` there, returns 0.  -4 for a larger index (nothing
    // changes), -3 when the block could not grow.  `value` may refer to an element of this vector.
    int insert(unsigned int index, T const &value);
    // Grows when full (push_back's rule) and stores a copy of `value` at the end.  `value` may
    // refer to an element of this vector.
    void push_back(T const &value);
    // Grows the block to exactly n places when n exceeds the capacity; never shrinks.
    void reserve(unsigned int n);

    static UndefinedType m_undefined;

protected:
    T &undefinedElement() const;
    void grow(double exponent);  // one growth step; may leave the vector empty on failure

    T *m_elementBase;      // null when nothing is allocated
    kr_uint32 m_count;     // constructed elements: [0, m_count)
    kr_uint32 m_capacity;  // places in the block
};

extern template class CKrVectorT<double>;
extern template class CKrVectorT<kr_int32>;
extern template class CKrVectorT<kr_int64>;
extern template class CKrVectorT<kr_uint32>;
extern template class CKrVectorT<kr_uint8>;
extern template class CKrVectorT<void *>;
extern template class CKrVectorT<CKrStringW>;
extern template class CKrVectorT<CKrByteArray>;

class ORVIK_API CKrVector_double : public CKrVectorT<double> {
public:
    CKrVector_double();
    explicit CKrVector_double(unsigned int capacity);
    CKrVector_double(CKrVector_double const &other);
    CKrVector_double const &operator=(CKrVector_double const &other);
};

class ORVIK_API CKrVector_kr_int32 : public CKrVectorT<kr_int32> {
public:
    CKrVector_kr_int32();
    explicit CKrVector_kr_int32(unsigned int capacity);
    CKrVector_kr_int32(CKrVector_kr_int32 const &other);
    CKrVector_kr_int32 const &operator=(CKrVector_kr_int32 const &other);
};

class ORVIK_API CKrVector_kr_int64 : public CKrVectorT<kr_int64> {
public:
    CKrVector_kr_int64();
    explicit CKrVector_kr_int64(unsigned int capacity);
    CKrVector_kr_int64(CKrVector_kr_int64 const &other);
    CKrVector_kr_int64 const &operator=(CKrVector_kr_int64 const &other);
};

class ORVIK_API CKrVector_kr_uint32 : public CKrVectorT<kr_uint32> {
public:
    CKrVector_kr_uint32();
    explicit CKrVector_kr_uint32(unsigned int capacity);
    CKrVector_kr_uint32(CKrVector_kr_uint32 const &other);
    CKrVector_kr_uint32 const &operator=(CKrVector_kr_uint32 const &other);
};

class ORVIK_API CKrVector_kr_uint8 : public CKrVectorT<kr_uint8> {
public:
    CKrVector_kr_uint8();
    explicit CKrVector_kr_uint8(unsigned int capacity);
    CKrVector_kr_uint8(CKrVector_kr_uint8 const &other);
    CKrVector_kr_uint8 const &operator=(CKrVector_kr_uint8 const &other);
};

class ORVIK_API CKrVector_VoidPtr : public CKrVectorT<void *> {
public:
    CKrVector_VoidPtr();
    explicit CKrVector_VoidPtr(unsigned int capacity);
    CKrVector_VoidPtr(CKrVector_VoidPtr const &other);
    CKrVector_VoidPtr const &operator=(CKrVector_VoidPtr const &other);

    void *&operator[](unsigned int index);  // same as at()
    void *const &operator[](unsigned int index) const;
    // Linear search from the start.  On success stores the first position in *index (when
    // index is non-null) and returns true; false for an empty vector or a missing value.
    bool find(void *const &value, unsigned int *index) const;
};

class ORVIK_API CKrVector_CKrStringW : public CKrVectorT<CKrStringW> {
public:
    CKrVector_CKrStringW();
    explicit CKrVector_CKrStringW(unsigned int capacity);
    CKrVector_CKrStringW(CKrVector_CKrStringW const &other);
    CKrVector_CKrStringW const &operator=(CKrVector_CKrStringW const &other);
};

class ORVIK_API CKrVector_CKrByteArray : public CKrVectorT<CKrByteArray> {
public:
    CKrVector_CKrByteArray();
    explicit CKrVector_CKrByteArray(unsigned int capacity);
    CKrVector_CKrByteArray(CKrVector_CKrByteArray const &other);
    CKrVector_CKrByteArray const &operator=(CKrVector_CKrByteArray const &other);
};

#endif
