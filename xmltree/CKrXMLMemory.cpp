// CKrXMLMemory: node blocks and the pieces carved from them.
#include "xmltree/CKrXMLMemory.h"

#include <cstdlib>
#include <new>

#include "platform/KrPlatform.h"
#include "xmltree/XmlInternal.h"

namespace {

// In front of every piece; 16 bytes keep the piece aligned like malloc's memory.
struct alignas(16) PieceHeader {
    CKrXMLNodeSlab *slab;  // null: the piece has its own heap allocation
};
static_assert(sizeof(PieceHeader) == CKrXMLNodeSlab::kHeaderBytes, "piece header size");
static_assert(sizeof(CKrXMLNodeSlab) % 16 == 0, "block data alignment");

// The block attribute arrays of this thread's running parse are carved from.
thread_local CKrXMLNodeSlab *t_attributeFill = nullptr;

void *FromHeap(size_t bytes) {
    if (bytes > SIZE_MAX - sizeof(PieceHeader)) throw std::bad_alloc();
    void *p = std::malloc(sizeof(PieceHeader) + bytes);
    if (!p) throw std::bad_alloc();
    return ::new (p) PieceHeader{nullptr} + 1;
}

}  // namespace

CKrXMLNodeSlab *CKrXMLNodeSlab::Create(size_t bytes) {
    void *p;
    if (bytes >= kLargestBytes) {
        // Aligned to a huge page, so the system can back the whole block with one.
        bytes = (bytes + kLargestBytes - 1) & ~(kLargestBytes - 1);
        p = std::aligned_alloc(kLargestBytes, bytes);
        if (p) KR_AdviseLargeWrite(p, bytes);
    } else {
        p = std::malloc(bytes);
    }
    if (!p) return nullptr;
    CKrXMLNodeSlab *slab = ::new (p) CKrXMLNodeSlab;
    slab->live = 0;
    slab->used = 0;
    slab->capacity = bytes - sizeof(CKrXMLNodeSlab);
    slab->open = true;
    return slab;
}

void *CKrXMLNodeSlab::Carve(size_t bytes) {
    bytes = Round(bytes);
    if (bytes > capacity - used) return nullptr;
    void *p = Data() + used;
    used += bytes;
    ++live;
    return p;
}

void CKrXMLNodeSlab::Close(CKrXMLNodeSlab *slab) {
    if (!slab) return;
    slab->open = false;
    if (slab->live == 0) std::free(slab);
}

CKrXMLAttributeFill::CKrXMLAttributeFill(CKrXMLNodeSlab *slab) { t_attributeFill = slab; }
CKrXMLAttributeFill::~CKrXMLAttributeFill() { t_attributeFill = nullptr; }

void *CKrXMLMemory::Allocate(size_t bytes, CKrXMLNodeSlab *block) {
    if (block && bytes <= block->capacity) {
        if (void *p = block->Carve(sizeof(PieceHeader) + bytes))
            return ::new (p) PieceHeader{block} + 1;
    }
    return FromHeap(bytes);
}

void *CKrXMLMemory::AllocateAttributes(size_t bytes) { return Allocate(bytes, t_attributeFill); }

void CKrXMLMemory::Free(void *piece) noexcept {
    if (!piece) return;
    PieceHeader *h = static_cast<PieceHeader *>(piece) - 1;
    CKrXMLNodeSlab *slab = h->slab;
    if (!slab) {
        std::free(h);
        return;
    }
    if (--slab->live == 0 && !slab->open) std::free(slab);
}
