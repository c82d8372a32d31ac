// The compressed envelope of the lite variant: "LV0Z", the plain size (8 bytes), a zlib stream.
// It is inflated on the first access; a declared size that the stream cannot produce is
// refused before anything is allocated.
#include <zlib.h>

#include <cstring>

#include "strings/CKrAlloc.h"
#include "variant/CKrLiteVariantR.h"
#include "variant/internal/LvLayout.h"

using namespace orvik::detail;

bool CKrLiteVariantR::plain() {
    if (m_unreadable) return false;
    if (m_size <= 4 || std::memcmp(m_pData, kLvEnvelopeMark, 4) != 0) return true;
    return Decompress() == 0;
}

int CKrLiteVariantR::Decompress() {
    if (m_unreadable) return -9;
    if (m_size <= 4 || std::memcmp(m_pData, kLvEnvelopeMark, 4) != 0) return 0;
    // A head cut short or a declared size of 0 leaves the buffer as it is (it then reads as
    // an item of the unknown code 'L').
    if (m_size <= kLvEnvelopeHeadBytes) return 0;
    kr_uint64 const declared = lvLoad64(m_pData + 4);
    if (declared == 0) return 0;
    kr_uint64 const packed = m_size - kLvEnvelopeHeadBytes;
    int result = -9;
    if (declared > kLvMaxBufferSize || packed > (kLvMaxBufferSize - kLvInflateSlack) ||
        declared > packed * kLvMaxInflateRatio + kLvInflateSlack) {
        result = -3;
    } else if (void *plainData = CKrAlloc::Alloc(CKrAlloc::kZeroFill, size_t(declared), 16)) {
        uLongf produced = uLongf(declared);
        if (uncompress(static_cast<Bytef *>(plainData), &produced, m_pData + kLvEnvelopeHeadBytes,
                       uLong(packed)) == Z_OK &&
            produced == declared) {
            SetPointer(plainData, declared, declared);
            return 0;
        }
        CKrAlloc::Free(plainData);
    } else {
        result = -3;
    }
    // The envelope stays as it was; every later access fails at once instead of inflating again.
    m_unreadable = true;
    return result;
}
