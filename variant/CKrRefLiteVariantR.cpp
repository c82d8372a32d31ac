// CKrRefLiteVariantR and CKrLiteVariantRHolder: shared readers with copy on write.
#include "variant/CKrRefLiteVariantR.h"

#include <new>

#include "variant/CKrLiteVariantRHolder.h"

CKrRefLiteVariantR::CKrRefLiteVariantR() : m_refCount(1) {}

CKrRefLiteVariantR::CKrRefLiteVariantR(CKrLiteVariantR const &other)
    : CKrLiteVariantR(other), m_refCount(1) {}

CKrRefLiteVariantR::~CKrRefLiteVariantR() = default;

int CKrRefLiteVariantR::AddRef() { return m_refCount.fetch_add(1, std::memory_order_relaxed) + 1; }

int CKrRefLiteVariantR::Release() {
    int const left = m_refCount.fetch_sub(1, std::memory_order_acq_rel) - 1;
    if (left == 0) delete this;
    return left;
}

bool CKrRefLiteVariantR::IsReferencedNonUniquely() const {
    return m_refCount.load(std::memory_order_acquire) > 1;
}

CKrLiteVariantRHolder::CKrLiteVariantRHolder() : m_reader(nullptr) {}

CKrLiteVariantRHolder::CKrLiteVariantRHolder(CKrRefLiteVariantR *reader) : m_reader(reader) {}

CKrLiteVariantRHolder::CKrLiteVariantRHolder(CKrLiteVariantRHolder const &other)
    : m_reader(other.m_reader) {
    if (m_reader) m_reader->AddRef();
}

CKrLiteVariantRHolder::CKrLiteVariantRHolder(CKrLiteVariantRHolder &&other) noexcept
    : m_reader(other.m_reader) {
    other.m_reader = nullptr;
}

CKrLiteVariantRHolder &CKrLiteVariantRHolder::operator=(CKrLiteVariantRHolder const &other) {
    if (other.m_reader) other.m_reader->AddRef();  // first, so self-assignment is safe
    Reset();
    m_reader = other.m_reader;
    return *this;
}

CKrLiteVariantRHolder &CKrLiteVariantRHolder::operator=(CKrLiteVariantRHolder &&other) noexcept {
    if (this != &other) {
        Reset();
        m_reader = other.m_reader;
        other.m_reader = nullptr;
    }
    return *this;
}

CKrLiteVariantRHolder::~CKrLiteVariantRHolder() { Reset(); }

void CKrLiteVariantRHolder::Reset() {
    if (m_reader) m_reader->Release();
    m_reader = nullptr;
}

CKrRefLiteVariantR *CKrLiteVariantRHolder::MakeNotNull() {
    if (!m_reader) m_reader = new (std::nothrow) CKrRefLiteVariantR();
    return m_reader;
}

CKrRefLiteVariantR *CKrLiteVariantRHolder::MakeNotNullAndUnique() {
    if (!MakeNotNull()) return nullptr;
    if (m_reader->IsReferencedNonUniquely()) {
        auto *own =
            new (std::nothrow) CKrRefLiteVariantR(static_cast<CKrLiteVariantR const &>(*m_reader));
        if (!own) return nullptr;
        m_reader->Release();
        m_reader = own;
    }
    return m_reader;
}
