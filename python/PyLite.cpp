// Records in the lite variant form: read with CKrLiteVariantR (after its Validate), written
// with CKrLiteVariantW.
#include <cstring>
#include <new>
#include <optional>

#include "PyDiag.h"
#include "PyFormats.h"
#include "strings/CKrAlloc.h"
#include "variant/CKrLiteVariantR.h"
#include "variant/CKrLiteVariantW.h"
#include "variant/CKrVariant.h"
#include "variant/EKrLiteVariantType.h"

namespace orvik::py {

namespace {

// The file form CKrLiteVariantR::SaveToFile gives a plain buffer: this mark, the buffer's size
// (8 bytes, little-endian), then the buffer.  A compressed buffer is saved as its envelope.
constexpr char kPlainFileMark[] = "LV00";
constexpr char kEnvelopeMark[] = "LV0Z";
constexpr std::size_t kFileHeadBytes = 12;
// The first item of a level written from a record holds the record's run-type name; a Null
// variant is written as a level holding only that item with the value "unknown".
constexpr wchar_t kRunTypeItem[] = L"__m_runType";
// Names are stored with at most this many UTF-16 units; longer ones would be cut.
constexpr std::size_t kMaxNameUnits = 255;

std::uint64_t Load64(unsigned char const *p) {
    std::uint64_t v = 0;
    for (int k = 7; k >= 0; --k) v = (v << 8) | p[k];
    return v;
}

// The bytes of the blob the reader stands on, in place.  The reader reports the offset of the
// current item through Find (its fast path takes the item at the position when the name
// matches); the item head at that offset (type code, name length, name units, blob length; the
// layout of CKrLiteVariantW.h) is checked against the reader's name before it is trusted.
// Nothing when the item cannot be reached that way (no name, a name that Find reads as a path);
// the caller then copies the bytes.
std::optional<Blob> BlobInPlace(CKrLiteVariantR &reader, std::wstring const &name,
                                std::shared_ptr<void const> const &owner) {
    if (name.empty() || name[0] == L'\\' || name.find(L'\0') != std::wstring::npos) return {};
    kr_int64 const at = reader.Find(name.c_str());
    auto const *data = static_cast<unsigned char const *>(reader.GetPointer());
    std::uint64_t const size = reader.GetSize();
    if (at < 0 || data == nullptr || std::uint64_t(at) + 2 > size) return {};
    std::uint64_t pos = std::uint64_t(at);
    std::size_t const units = data[pos + 1];
    if (data[pos] != krLVT_BLOB || (units != name.size() && units != name.size() + 1)) return {};
    pos += 2;
    if (size - pos < 2 * units + 8) return {};
    for (std::size_t k = 0; k < units; ++k) {
        wchar_t const unit = wchar_t(data[pos + 2 * k] | (data[pos + 2 * k + 1] << 8));
        if (unit != (k < name.size() ? name[k] : L'\0')) return {};
    }
    pos += 2 * units;
    std::uint64_t const length = Load64(data + pos);
    pos += 8;
    if (length > size - pos) return {};
    return Blob{data + pos, std::size_t(length), owner};
}

[[noreturn]] void Unreadable(char const *what) {
    throw FormatFault(std::string("orvik: lite variant: ") + what, std::nullopt);
}

// The scalar at the reader's position into `item`; false for a type code it does not know.
bool ReadScalar(CKrLiteVariantR &reader, int type, Item &item,
                std::shared_ptr<void const> const &owner) {
    auto check = [](int result) {
        if (result != 0) Unreadable("a value could not be read");
    };
    switch (type) {
        case krLVT_BOOL:
            item.kind = Kind::Bool;
            check(reader.GetCurrentValue(item.b));
            return true;
        case krLVT_INT32: {
            int v = 0;
            check(reader.GetCurrentValue(v));
            item.kind = Kind::Int32;
            item.i = v;
            return true;
        }
        case krLVT_UINT32: {
            unsigned int v = 0;
            check(reader.GetCurrentValue(v));
            item.kind = Kind::UInt32;
            item.u = v;
            return true;
        }
        case krLVT_INT64: {
            kr_int64 v = 0;
            check(reader.GetCurrentValue(v));
            item.kind = Kind::Int64;
            item.i = v;
            return true;
        }
        case krLVT_UINT64: {
            kr_uint64 v = 0;
            check(reader.GetCurrentValue(v));
            item.kind = Kind::UInt64;
            item.u = v;
            return true;
        }
        case krLVT_DOUBLE:
            item.kind = Kind::Double;
            check(reader.GetCurrentValue(item.d));
            return true;
        case krLVT_VOIDPTR: {
            void *v = nullptr;
            check(reader.GetCurrentValue(v));
            item.kind = Kind::VoidPtr;
            item.u = reinterpret_cast<std::uintptr_t>(v);
            return true;
        }
        case krLVT_STRING: {
            CKrStringW v;
            check(reader.GetCurrentValue(v));
            item.kind = Kind::String;
            item.text = v.GetStdString();
            return true;
        }
        case krLVT_BLOB: {
            item.kind = Kind::Bytes;
            if (auto blob = BlobInPlace(reader, item.name, owner)) {
                item.blob = *blob;
                return true;
            }
            CKrByteArray bytes;
            check(reader.GetCurrentValue(bytes));
            auto const *begin = static_cast<unsigned char const *>(bytes.GetData());
            auto copy =
                std::make_shared<std::vector<unsigned char>>(begin, begin + bytes.GetSize());
            item.blob = Blob{copy->data(), copy->size(), copy};
            return true;
        }
        default:
            return false;
    }
}

// A level that was closed: its first item may name the record type (or mark a Null variant).
void Finish(Level &level, Item &holder) {
    if (level.items.empty() || level.items.front().kind != Kind::String ||
        level.items.front().name != kRunTypeItem)
        return;
    std::wstring const &text = level.items.front().text;
    std::string narrow;
    for (wchar_t c : text) {
        if (c > 0x7F) return;  // not a run-type name: an ordinary item
        narrow += char(c);
    }
    if (narrow == RunTypeName(Kind::Null) && level.items.size() == 1) {
        holder.kind = Kind::Null;
        holder.level.reset();
        return;
    }
    if (!IsListRunType(narrow)) return;
    level.runtype = narrow;
    level.items.erase(level.items.begin());
}

// Every item of the reader's buffer, in writing order, as the items of one level.  Items
// without a name get the variant's name for them, "no_name", as CKrLiteVariantR::Get does.
std::shared_ptr<Level> Walk(std::shared_ptr<CKrLiteVariantR> const &reader) {
    std::shared_ptr<void const> const owner = reader;
    auto top = std::make_shared<Level>();
    std::vector<Level *> open{top.get()};
    reader->Reset();
    bool have = reader->GetCurrentType() != krLVT_NONE;
    for (;;) {
        if (!have) {
            if (open.size() == 1) break;
            Level *closed = open.back();
            open.pop_back();
            Finish(*closed, open.back()->items.back());
            if (reader->LevelEnd() != 0) Unreadable("a level could not be left");
            have = reader->GetCurrentType() != krLVT_NONE;
            continue;
        }
        int const type = reader->GetCurrentType();
        Item item;
        item.name = reader->GetCurrentName().GetStdString();
        if (type == krLVT_LEVEL) {
            unsigned int count = 0;
            if (reader->CurrentLevelBegin(&count) != 0) Unreadable("a level could not be entered");
            auto nested = std::make_shared<Level>();
            if (item.name.empty()) item.name = kNoName;
            item.kind = Kind::List;
            item.level = nested;
            open.back()->items.push_back(std::move(item));
            open.push_back(nested.get());
            have = count > 0 && reader->GetCurrentType() != krLVT_NONE;
            continue;
        }
        if (!ReadScalar(*reader, type, item, owner)) {
            throw FormatFault(
                "orvik: lite variant: item of unknown type code " + std::to_string(type),
                std::nullopt);
        }
        if (item.name.empty()) item.name = kNoName;
        open.back()->items.push_back(std::move(item));
        have = reader->NextValue() == 0;
    }
    return top;
}

// Names the lite variant cannot store as they are; throws std::invalid_argument.
void CheckNames(Item const &root) {
    std::vector<Item const *> pending{&root};
    while (!pending.empty()) {
        Item const *item = pending.back();
        pending.pop_back();
        if (item->name.find(L'\0') != std::wstring::npos)
            throw std::invalid_argument("orvik: a lite variant name cannot hold U+0000");
        if (item->name.size() > kMaxNameUnits) {
            throw std::invalid_argument("orvik: item '" + Utf8(item->name.substr(0, 40)) +
                                        "...': a lite variant name holds at most 255 UTF-16 units");
        }
        if (item->kind == Kind::List) {
            for (Item const &child : item->level->items) pending.push_back(&child);
        }
    }
}

}  // namespace

RecordView LoadLite(unsigned char const *data, std::size_t size) {
    std::uint64_t base = 0;  // offset of the buffer in the input
    if (size >= 4 && std::memcmp(data, kPlainFileMark, 4) == 0) {
        if (size < kFileHeadBytes)
            throw FormatFault("orvik: lite variant file shorter than its header", size);
        std::uint64_t const declared = Load64(data + 4);
        if (declared > size - kFileHeadBytes)
            throw FormatFault("orvik: lite variant file shorter than its header says", size);
        if (declared < size - kFileHeadBytes)
            throw FormatFault("orvik: unexpected bytes after the lite variant buffer",
                              kFileHeadBytes + declared);
        base = kFileHeadBytes;
        data += kFileHeadBytes;
        size = std::size_t(declared);
    }
    if (size == 0) throw FormatFault("orvik: empty lite variant buffer", base);
    bool const envelope = size >= 4 && std::memcmp(data, kEnvelopeMark, 4) == 0;

    void *copy = CKrAlloc::Alloc(0, size);
    if (copy == nullptr) throw std::bad_alloc();
    std::memcpy(copy, data, size);
    auto reader = std::make_shared<CKrLiteVariantR>();
    reader->SetPointer(copy, size, size);

    kr_uint64 fault = 0;
    int const result = reader->Validate(&fault);
    if (result == -3) {
        throw FormatFault("orvik: lite variant envelope declares a size that is refused", base + 4);
    }
    if (result != 0) {
        if (envelope) {
            throw FormatFault("orvik: damaged lite variant at offset " + std::to_string(fault) +
                                  " of the inflated data",
                              fault);
        }
        throw FormatFault("orvik: damaged lite variant at offset " + std::to_string(base + fault),
                          base + fault);
    }
    return TopOf(Walk(reader));
}

std::string DumpLite(RecordView const &record, bool compress) {
    std::vector<Item> items;
    if (record.document) {
        items = record.level->items;
    } else {
        items.push_back(record.AsItem());
    }
    // An empty buffer would be no file at all: loads could not tell what it is.
    if (items.empty()) throw std::invalid_argument("orvik: nothing to write: the record is empty");
    CKrLiteVariantW writer;
    for (Item const &item : items) {
        CheckNames(item);
        if (writer.Set(VariantFromItem(item), item.name.c_str()) != 0) {
            throw std::invalid_argument(
                "orvik: a lite variant holds a list at its top only as its first item");
        }
    }
    CKrLiteVariantR out;
    // zlib cannot shrink small or random data; the plain buffer is written then (loads reads
    // both forms).
    if ((!compress || writer.Finalize(out, 1) == nullptr) && writer.Finalize(out, 0) == nullptr)
        throw std::bad_alloc();
    return std::string(static_cast<char const *>(out.GetPointer()), std::size_t(out.GetSize()));
}

std::string LiteFileForm(std::string buffer) {
    if (buffer.compare(0, 4, kEnvelopeMark) == 0) return buffer;
    std::string file(kPlainFileMark, 4);
    std::uint64_t size = buffer.size();
    for (int k = 0; k < 8; ++k, size >>= 8) file += char(size & 0xFF);
    return file + buffer;
}

}  // namespace orvik::py
