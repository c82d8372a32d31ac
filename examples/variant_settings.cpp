// Builds an acquisition settings record as a variant tree, prints its XML form, saves it to a
// UTF-8 file with the XML serialiser and loads it back.
//
// The record has named children, a nested record of the registered type "RKrDateTime" (one
// signed 64-bit child "time", milliseconds since 1970) and a byte array, which the XML form
// carries as Base64.
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "serializerxml/CKrSerializerXMLString.h"
#include "strings/CKrStringA.h"
#include "variant/CKrVariant.h"

int main() {
    // Record types are registered once, by a sample whose name is the type name.
    CKrVariantRunType const dateTime("RKrDateTime");
    CKrVariant::RegisterRunType(
        CKrVariant::CreateStruct(L"RKrDateTime", {CKrVariant(kr_int64(0), L"time")}));

    CKrVariant settings(CKrListVariant(), L"settings");
    settings.Append(CKrVariant(L"Camera 1", L"device"));
    settings.Append(CKrVariant(12.5, L"exposure_ms"));
    settings.Append(CKrVariant(2u, L"binning"));
    settings.Append(CKrVariant(true, L"autofocus"));

    CKrVariant acquired(CKrListVariant(), L"acquired");
    acquired.EnableTypeChange(true);
    acquired.SetRunType(dateTime);  // brings the member "time"
    acquired[L"time"] = kr_int64(1763700000000LL);
    settings.Append(acquired);

    unsigned char const lut[] = {0, 64, 128, 255};
    settings.Append(CKrVariant(CKrByteArray(lut, sizeof lut, 16), L"lut"));

    // Reading back: the tree answers by name and path, converting where asked.
    double exposure = settings[L"exposure_ms"].GetDouble();
    CKrVariant const *time = settings.SearchFixed(L"acquired", L"time", nullptr);

    CKrStringW text;
    CKrVariant::Trace(text, settings);
    std::printf("%s", CKrStringA::Utf8FromUtf16(text.GetString()).GetString());
    std::printf("exposure %.1f ms, time %lld, %d children, record type %s\n", exposure,
                time ? static_cast<long long>(time->GetKr_int64()) : -1LL, settings.GetCount(),
                settings[L"acquired"].GetRunType().GetName().GetString());

    // Save: the serialiser writes into the string that the parameter "stringUTF8" points at.
    CKrSerializerXMLString serializer;
    CKrStringA utf8;
    CKrVariant saveParams = CKrVariant::CreateStruct(
        L"params", {CKrVariant(static_cast<void *>(&utf8), L"stringUTF8")});
    if (serializer.Save(settings, saveParams) != 0) return 1;
    std::filesystem::path const file =
        std::filesystem::temp_directory_path() / "orvik_settings.xml";
    std::ofstream(file, std::ios::binary) << utf8.GetStdString();

    // Load: the file's bytes, handed over as a raw pointer and a length.
    std::ifstream in(file, std::ios::binary);
    std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    CKrVariant loadParams = CKrVariant::CreateStruct(
        L"params", {CKrVariant(static_cast<void *>(bytes.data()), L"rawStringUTF8"),
                    CKrVariant(static_cast<unsigned>(bytes.size()), L"rawStringLen")});
    CKrVariant loaded;
    int rc = serializer.Load(loaded, loadParams);
    std::filesystem::remove(file);
    std::printf("\n%s (%zu bytes):\n%s\n", file.string().c_str(), bytes.size(), bytes.c_str());
    bool const same = rc == 0 && loaded == settings;
    std::printf("loaded back: result %d, %s, \"acquired\" of type %s\n", rc,
                same ? "equal" : "DIFFERENT",
                loaded[L"acquired"].GetRunType().GetName().GetString());
    return same ? 0 : 1;
}
