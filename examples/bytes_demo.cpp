// Raw data as the suite carries it: a byte array filled piece by piece, its Base64 text form
// (as stored in settings files), and the typed vectors.
#include <cstdio>
#include <cstring>

#include "orvik_base.h"

int main() {
    // Append header and pixel rows into a growing byte array (grows by whole increments).
    CKrByteArray frame(256);
    const char header[] = "RAW1";
    frame.SetData(header, 4, CKrByteArray::ModeOpAppend, CKrByteArray::ModeAllocIncrement);
    unsigned char row[64];
    for (int y = 0; y < 8; ++y) {
        for (int x = 0; x < 64; ++x) row[x] = static_cast<unsigned char>(x * 4 + y);
        frame.SetData(row, sizeof row, CKrByteArray::ModeOpAppend,
                      CKrByteArray::ModeAllocIncrement);
    }
    std::printf("byte array  -> %zu bytes used, %zu allocated (increment 256)\n", frame.GetSize(),
                frame.GetAllocated());

    // Base64 round trip; MIME line breaks in the text are skipped on decoding.
    Base64Coder coder;
    coder.Encode(static_cast<const unsigned char *>(frame.GetData()), frame.GetSize());
    unsigned int textLength = 0;
    const unsigned char *text = coder.EncodedBuffer(&textLength);
    std::printf("Base64      -> %u characters, starts \"%.24s...\"\n", textLength,
                reinterpret_cast<const char *>(text));
    CKrStringA mime(reinterpret_cast<const char *>(text));
    mime.Insert("\r\n", 76);
    Base64Coder decoder;
    decoder.DecodeA(mime);
    size_t decodedLength = 0;
    const unsigned char *decoded = decoder.DecodedBuffer(&decodedLength);
    const bool same = decodedLength >= frame.GetSize() &&
                      std::memcmp(decoded, frame.GetData(), frame.GetSize()) == 0;
    std::printf("decoded     -> %zu bytes, identical to the frame: %s\n", decodedLength,
                same ? "yes" : "no");

    // Typed vectors: out-of-range reads give the class-wide undefined element, never a crash.
    CKrVector_double exposures;
    for (int i = 1; i <= 5; ++i) exposures.push_back(i * 12.5);
    exposures.insert(0, 5.0);
    CKrVector_CKrStringW channels;
    channels.push_back(CKrStringW(L"DAPI"));
    channels.push_back(CKrStringW(L"FITC"));
    std::printf("vectors     -> %u exposures (first %.1f ms), %u channels, channel[7] = \"%ls\"\n",
                exposures.size(), exposures.at(0), channels.size(), channels.at(7).GetString());
    return 0;
}
