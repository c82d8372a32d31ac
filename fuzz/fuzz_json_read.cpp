// Fuzzes the readers: a failed read names its error and leaves the target alone; a successful
// read writes out (toString) text that reads back to the same document.
#include <cstdint>

#include "JsonFuzzInput.h"
#include "json/CKrJsonArray.h"
#include "json/CKrJsonObject.h"
#include "json/CKrJsonValue.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    CKrStringW text(jsonFuzzText(data, size));

    CKrJsonObject object(L"sentinel", CKrJsonValue(1));
    CKrStringW error;
    bool ok = CKrJson::readObjectFromString(text, &object, &error);
    JSON_FUZZ_CHECK(ok == CKrJson::readObjectFromString(text, nullptr, nullptr));
    if (!ok) {
        JSON_FUZZ_CHECK(!error.IsEmpty());
        JSON_FUZZ_CHECK(object.toString() == CKrStringW(L"{\"sentinel\" : 1}"));
    } else {
        // No empty containers are read, so what was read writes out and reads back.
        JSON_FUZZ_CHECK(!object.isEmpty());
        CKrStringW written = object.toString();
        CKrJsonObject again;
        JSON_FUZZ_CHECK(CKrJson::readObjectFromString(written, &again, nullptr));
        JSON_FUZZ_CHECK(again.toString() == written);
    }

    CKrJsonArray array;
    error.Empty();
    ok = CKrJson::readArrayFromString(text, &array, &error);
    JSON_FUZZ_CHECK(ok == CKrJson::readArrayFromString(text, nullptr, nullptr));
    if (!ok) {
        JSON_FUZZ_CHECK(!error.IsEmpty() && array.itemCount() == 0);
    } else {
        JSON_FUZZ_CHECK(array.itemCount() > 0);
        CKrStringW written = array.toString();
        CKrJsonArray again;
        JSON_FUZZ_CHECK(CKrJson::readArrayFromString(written, &again, nullptr));
        JSON_FUZZ_CHECK(again.itemCount() == array.itemCount());
        JSON_FUZZ_CHECK(again.toString() == written);
    }
    return 0;
}
