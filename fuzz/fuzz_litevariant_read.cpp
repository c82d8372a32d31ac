// Lite variant reader on arbitrary bytes.
//
// The first byte chooses how the rest becomes a buffer: as it is; wrapped in a true compressed
// envelope; as an envelope whose head (declared size) comes from the input; or as a well-formed
// sample buffer with bytes overwritten at offsets taken from the input (so that random inputs
// also reach deep into levels and indexes).  Validate runs first, then every reader member.
// No member may read outside the buffer (the sanitizers check).  When Validate accepts the
// buffer, stronger properties must hold and are checked: walking in order sees every child a
// level counts, every child is found by name through the index, and the rebuilding members and
// the XML form succeed and give well-formed buffers.
#include <zlib.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "strings/CKrAlloc.h"
#include "variant/CKrLiteVariantR.h"
#include "variant/CKrLiteVariantW.h"
#include "variant/CKrVariant.h"

namespace {

void check(bool ok, char const *what) {
    if (!ok) {
        std::fprintf(stderr, "litevariant_read: %s\n", what);
        std::abort();
    }
}

std::vector<uint8_t> sampleBuffer() {
    CKrLiteVariantW w;
    w.LevelBegin(L"rec");
    w.Set(1, L"a");
    w.Set(L"text", L"s");
    w.Set("\1\2\3\4\5", 5, L"blob");
    w.LevelBegin(L"in");
    w.Set(2.5, L"d");
    w.Set(true, L"b");
    w.LevelEnd();
    w.Set(kr_uint64(7), L"a");
    w.LevelEnd();
    CKrLiteVariantR r;
    w.Finalize(r, 0);
    auto const *p = static_cast<uint8_t const *>(r.GetPointer());
    return std::vector<uint8_t>(p, p + r.GetSize());
}

void load(CKrLiteVariantR &r, std::vector<uint8_t> const &bytes) {
    void *p = bytes.empty() ? nullptr : CKrAlloc::Alloc(0, bytes.size(), 16);
    if (p) std::memcpy(p, bytes.data(), bytes.size());
    r.SetPointer(p, bytes.size(), bytes.size());
}

// A name that a wide C string can ask for: no zero unit inside, no leading backslash (a path).
bool plainName(CKrStringW const &name) {
    if (name.GetLength() && name.GetStdString()[0] == L'\\') return false;
    for (size_t i = 0; i < name.GetLength(); ++i)
        if (name.GetStdString()[i] == 0) return false;
    return true;
}

// Every member on whatever the buffer holds; names come from the buffer where it has any.
void exercise(CKrLiteVariantR &r, std::vector<std::wstring> const &names) {
    CKrVariant v;
    CKrByteArray bytes;
    CKrStringW text;
    wchar_t small[4];
    unsigned char raw[16];
    for (std::wstring const &n : names) {
        wchar_t const *name = n.c_str();
        r.Get(name, 0);
        r.Get(name, 0u);
        r.Get(name, kr_int64(0));
        r.Get(name, kr_uint64(0));
        r.Get(name, 0.0);
        r.Get(name, false);
        r.Get(name, static_cast<void *>(nullptr));
        r.Get(name, raw, sizeof raw);
        r.Get(name, bytes);
        r.Get(name, v);
        r.GetCKrStringW(name, L"");
        r.GetStringIntoBuffer(name, small, 4);
        r.IsValueSet(name);
        unsigned count;
        if (r.LevelBegin(name, &count) == 0) r.LevelEnd();
    }
    r.Reset();
    for (int steps = 0; steps < 64; ++steps) {
        r.GetCurrentType();
        r.GetCurrentName();
        r.GetCurrentValue(v);
        r.GetCurrentValueCKrStringW();
        r.GetCurrentValueIntoBuffer(small, 4);
        r.GetCurrentValue(raw, sizeof raw);
        double d;
        r.GetCurrentValue(d);
        if (r.CurrentLevelBegin(nullptr) == 0) continue;
        if (r.NextValue() != 0 && r.LevelEnd() != 0) break;
    }
    r.Trace(text);
    r.LiteVariantToXML(text);
    CKrLiteVariantR out;
    if (!names.empty()) {
        r.Extract(names[0].c_str(), out);
        CKrLiteVariantR copy(r);
        copy.Remove(names.back().c_str());
        copy.Replace(names[0].c_str(), out);
        copy.Merge(r);
    }
    r.Reset();
    r.ExtractCurrent(out);
    CKrLiteVariantW w;
    w.Append(r);
}

// Properties of a buffer that Validate accepted.
void checkValid(CKrLiteVariantR &r) {
    // In order: every level holds as many children as it counts; each child is found by name.
    struct Level {
        unsigned count, seen;
        std::vector<std::pair<std::wstring, kr_int64>> children;
    };
    std::vector<Level> stack;
    r.Reset();
    bool more = r.FirstValue() == 0;
    std::vector<std::wstring> top;
    size_t items = 0;
    while (++items < 100000) {
        if (!more) {
            if (stack.empty()) break;
            Level const level = stack.back();
            check(level.seen == level.count, "a level holds another number of children");
            for (auto const &[name, at] : level.children) {
                check(r.FirstValue() == 0, "FirstValue in a level with children");
                kr_int64 const found = r.Find(name.c_str());
                check(found >= 0, "a child is not found through the index");
                (void)at;
            }
            stack.pop_back();
            check(r.LevelEnd() == 0, "LevelEnd");
            more = r.GetCurrentType() != krLVT_NONE;  // LevelEnd moved past the level
            continue;
        }
        CKrStringW const name = r.GetCurrentName();
        if (!stack.empty()) {
            ++stack.back().seen;
            // A name the fast path finds here must also be found through the index.
            kr_int64 const here = plainName(name) ? r.Find(name.GetString()) : -9;
            if (here >= 0) stack.back().children.emplace_back(name.GetStdString(), here);
        } else if (plainName(name)) {
            top.push_back(L"\\" + name.GetStdString());
        }
        unsigned count = 0;
        if (r.GetCurrentType() == krLVT_LEVEL) {
            check(r.CurrentLevelBegin(&count) == 0, "CurrentLevelBegin on a level");
            stack.push_back({count, 0, {}});
            more = r.FirstValue() == 0;
            continue;
        }
        more = r.NextValue() == 0;
    }
    CKrStringW xml;
    check(r.LiteVariantToXML(xml) == 0, "XML form of a valid buffer");
    CKrLiteVariantW w;
    if (w.Append(r) == 0) {
        CKrLiteVariantR copy;
        w.Finalize(copy, 0);
        check(copy.Validate(nullptr) == 0, "a rebuilt copy is not valid");
    }
    if (!top.empty()) {
        CKrLiteVariantR out;
        r.Reset();
        if (r.Extract(top[0].c_str(), out) == 0)
            check(out.Validate(nullptr) == 0, "an extracted item is not valid");
        CKrLiteVariantR copy(r), same(r);
        if (copy.Merge(same) == 0)
            check(copy.Validate(nullptr) == 0, "a merged buffer is not valid");
        CKrLiteVariantR cut(r);
        if (cut.Remove(top[0].c_str()) == 0)
            check(cut.Validate(nullptr) == 0, "a buffer after Remove is not valid");
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(uint8_t const *data, size_t size) {
    if (size == 0 || size > 1 << 16) return 0;
    uint8_t const mode = data[0] % 4;
    ++data;
    --size;
    std::vector<uint8_t> buf;
    switch (mode) {
        case 0:
            buf.assign(data, data + size);
            break;
        case 1: {  // a true envelope of the input
            uLongf packed = compressBound(uLong(size));
            buf.resize(12 + packed);
            std::memcpy(buf.data(), "LV0Z", 4);
            uint64_t const plain = size;
            std::memcpy(buf.data() + 4, &plain, 8);
            compress2(buf.data() + 12, &packed, data, uLong(size), 6);
            buf.resize(12 + packed);
            break;
        }
        case 2: {  // an envelope head from the input
            buf.assign({'L', 'V', '0', 'Z'});
            buf.insert(buf.end(), data, data + size);
            break;
        }
        default: {  // a sample with bytes overwritten (and maybe cut)
            buf = sampleBuffer();
            size_t i = 0;
            if (size % 7 == 0 && size > 0) buf.resize(data[i++] % buf.size());
            for (; i + 1 < size && !buf.empty(); i += 2) buf[data[i] % buf.size()] = data[i + 1];
            break;
        }
    }
    CKrLiteVariantR r;
    load(r, buf);
    kr_uint64 fault = 0;
    int const valid = r.Validate(&fault);
    check(valid == 0 || valid == -9 || valid == -3, "Validate result");
    check(valid == 0 || fault <= r.GetSize(), "fault offset outside the buffer");
    // Names to look for: a few fixed ones, paths, and those of the top-level items.
    std::vector<std::wstring> names = {L"a", L"\\rec\\a", L"\\rec\\in\\d", L"\\rec", L"", L"\\"};
    r.Reset();
    for (int i = 0; i < 4; ++i) {
        names.push_back(L"\\" + r.GetCurrentName().GetStdString());
        if (r.NextValue() != 0) break;
    }
    if (valid == 0) checkValid(r);
    exercise(r, names);
    CKrLiteVariantR again;
    load(again, buf);  // the same members on a buffer that was never validated
    exercise(again, names);
    return 0;
}
