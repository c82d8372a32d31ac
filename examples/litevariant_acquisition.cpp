// An acquisition record as a lite variant: written item by item, finalized compressed, saved to
// a file, loaded back (the loader validates every byte before it accepts the buffer) and read
// by path.
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "variant/CKrLiteVariantR.h"
#include "variant/CKrLiteVariantW.h"

int main() {
    // ---- write ---------------------------------------------------------------------------
    CKrLiteVariantW w;
    w.LevelBegin(L"acquisition");
    w.LevelBegin(L"stage");
    w.Set(1250.5, L"x");
    w.Set(-310.25, L"y");
    w.Set(42.0, L"z");
    w.LevelEnd();
    w.Set(15.0, L"exposure_ms");
    w.LevelBegin(L"channels");
    for (wchar_t const *name : {L"DAPI", L"FITC", L"TRITC", L"Cy5"}) w.Set(name, L"name");
    w.LevelEnd();
    std::vector<unsigned char> thumbnail(64 * 64);  // a gradient standing in for the image
    for (size_t i = 0; i < thumbnail.size(); ++i)
        thumbnail[i] = static_cast<unsigned char>(i % 64 * 4);
    w.Set(thumbnail.data(), thumbnail.size(), L"thumbnail");
    w.LevelBegin(L"calibration");
    w.Set(0.1625, L"pixel_size_um");
    w.Set(L"um", L"unit");
    w.LevelBegin(L"objective");
    w.Set(40, L"magnification");
    w.Set(0.95, L"numerical_aperture");
    w.LevelEnd();
    w.LevelEnd();
    w.LevelEnd();

    CKrLiteVariantR record;
    if (!w.Finalize(record, 1)) {  // null when zlib cannot shrink the data
        std::printf("the record did not compress\n");
        return 1;
    }
    std::printf("compressed record: %llu bytes\n",
                static_cast<unsigned long long>(record.GetSize()));

    // ---- save and load -------------------------------------------------------------------
    std::string const file = (std::filesystem::temp_directory_path() / "acquisition.lv").string();
    std::wstring const path(file.begin(), file.end());
    if (record.SaveToFile(path.c_str()) != 0) {
        std::printf("cannot write %s\n", file.c_str());
        return 1;
    }
    CKrLiteVariantR loaded;
    int const result = loaded.LoadFromFile(path.c_str());  // validated before it is accepted
    std::filesystem::remove(file);
    if (result != 0) {
        std::printf("cannot load %s: %d\n", file.c_str(), result);
        return 1;
    }
    kr_uint64 fault = 0;
    std::printf("loaded: %llu bytes, Validate %d\n",
                static_cast<unsigned long long>(loaded.GetSize()), loaded.Validate(&fault));

    // ---- read by path ----------------------------------------------------------------------
    std::printf("stage: x %.2f  y %.2f  z %.2f\n", loaded.Get(L"\\acquisition\\stage\\x", 0.0),
                loaded.Get(L"\\acquisition\\stage\\y", 0.0),
                loaded.Get(L"\\acquisition\\stage\\z", 0.0));
    std::printf("exposure: %.1f ms\n", loaded.Get(L"\\acquisition\\exposure_ms", 0.0));
    std::printf("objective: %dx, NA %.2f\n",
                loaded.Get(L"\\acquisition\\calibration\\objective\\magnification", 0),
                loaded.Get(L"\\acquisition\\calibration\\objective\\numerical_aperture", 0.0));
    CKrByteArray thumb;
    loaded.Get(L"\\acquisition\\thumbnail", thumb);
    std::printf("thumbnail: %zu bytes\n", thumb.GetSize());

    // The channel names share one name: walk them in writing order.
    unsigned count = 0;
    loaded.LevelBegin(L"\\acquisition\\channels", &count);
    std::printf("channels (%u):", count);
    for (bool more = loaded.FirstValue() == 0; more; more = loaded.NextValue() == 0)
        std::printf(" %ls", loaded.GetCurrentValueCKrStringW().GetString());
    std::printf("\n");
    // A missing item gives the default, never a crash.
    std::printf("missing: %d\n", loaded.Get(L"\\acquisition\\no\\such\\item", -1));
    return 0;
}
