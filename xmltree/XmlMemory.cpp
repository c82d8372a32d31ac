// Node blocks and the pieces carved from them.
#include "xmltree/internal/XmlMemory.h"

#include <cstdlib>
#include <new>

#include "platform/KrPlatform.h"

namespace orvik::detail {

namespace {

// In front of every piece; 16 bytes keep the piece aligned like malloc's memory.
struct alignas(16) PieceHeader {
    XmlNodeSlab *slab;  // null: the piece has its own heap allocation
};
static_assert(sizeof(PieceHeader) == XmlNodeSlab::kHeaderBytes, "piece header size");
static_assert(sizeof(XmlNodeSlab) % 16 == 0, "block data alignment");

// The block attribute arrays of this thread's running parse are carved from.
thread_local XmlNodeSlab *t_attributeFill = nullptr;

void *FromHeap(size_t bytes) {
    if (bytes > SIZE_MAX - sizeof(PieceHeader)) throw std::bad_alloc();
    void *p = std::malloc(sizeof(PieceHeader) + bytes);
    if (!p) throw std::bad_alloc();
    return ::new (p) PieceHeader{nullptr} + 1;
}

}  // namespace

XmlNodeSlab *XmlNodeSlab::Create(size_t bytes) {
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
    XmlNodeSlab *slab = ::new (p) XmlNodeSlab;
    slab->live = 0;
    slab->used = 0;
    slab->capacity = bytes - sizeof(XmlNodeSlab);
    slab->open = true;
    return slab;
}

void *XmlNodeSlab::Carve(size_t bytes) {
    bytes = Round(bytes);
    if (bytes > capacity - used) return nullptr;
    void *p = Data() + used;
    used += bytes;
    ++live;
    return p;
}

void XmlNodeSlab::Close(XmlNodeSlab *slab) {
    if (!slab) return;
    slab->open = false;
    if (slab->live == 0) std::free(slab);
}

XmlAttributeFill::XmlAttributeFill(XmlNodeSlab *slab) { t_attributeFill = slab; }
XmlAttributeFill::~XmlAttributeFill() { t_attributeFill = nullptr; }

void *XmlMemory::Allocate(size_t bytes, XmlNodeSlab *block) {
    if (block && bytes <= block->capacity) {
        if (void *p = block->Carve(sizeof(PieceHeader) + bytes))
            return ::new (p) PieceHeader{block} + 1;
    }
    return FromHeap(bytes);
}

void *XmlMemory::AllocateAttributes(size_t bytes) { return Allocate(bytes, t_attributeFill); }

void XmlMemory::Free(void *piece) noexcept {
    if (!piece) return;
    PieceHeader *h = static_cast<PieceHeader *>(piece) - 1;
    XmlNodeSlab *slab = h->slab;
    if (!slab) {
        std::free(h);
        return;
    }
    if (--slab->live == 0 && !slab->open) std::free(slab);
}

}  // namespace orvik::detail
