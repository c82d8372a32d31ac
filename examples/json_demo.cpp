// JSON as the suite exchanges it with other tools: build a record, print it, read a document
// received as text, query its members, and lay it out again.
#include <cstdio>
#include <vector>

#include "orvik_base.h"

int main() {
    // Building: every value is kept as its JSON text.
    CKrJsonArray wavelengths;
    wavelengths.addItem(CKrJsonValue(405));
    wavelengths.addItem(CKrJsonValue(488));
    wavelengths.addItem(CKrJsonValue(561));
    CKrJsonObject record(CKrStringW(L"name"), CKrJsonValue(L"Plate 4, well B2"),
                         CKrStringW(L"exposure"), CKrJsonValue(12.5));
    record.addItem(CKrStringW(L"lasers"), wavelengths);
    record.addItem(CKrStringW(L"live"), CKrJsonValue(true));
    std::printf("built:\n%s\n\n", record.toString().ToStdStringUtf8().c_str());

    // Reading text received from elsewhere; nested items are checked when they are queried.
    CKrStringW text(
        L"{ \"objective\": \"63x/1.40 Oil\", \"na\": 1.4, \"binning\": 2,"
        L" \"stage\": {\"x\": 1250.5, \"y\": -80}, \"flags\": [TRUE, null] }");
    CKrJsonObject doc;
    CKrStringW error;
    if (!CKrJson::readObjectFromString(text, &doc, &error)) {
        std::printf("read failed: %s\n", error.ToStdStringUtf8().c_str());
        return 1;
    }
    CKrStringW objective;
    double na = 0;
    int binning = 0;
    CKrJsonObject stage;
    double x = 0;
    doc.isItemWithNameString(CKrStringW(L"objective"), &objective);
    doc.isItemWithNameDouble(CKrStringW(L"na"), &na);
    doc.isItemWithNameInteger(CKrStringW(L"binning"), &binning);
    if (doc.isItemWithNameObject(CKrStringW(L"stage"), &stage))
        stage.isItemWithNameDouble(CKrStringW(L"x"), &x);
    std::printf("queried: objective %s, NA %.2f, binning %d, stage x %.1f\n\n",
                objective.ToStdStringUtf8().c_str(), na, binning, x);

    // Laying it out again gives strict, stably indented JSON.
    CKrStringW pretty = CKrJson::reformat(text, &error, 2);
    std::printf("reformatted:\n%s\n\n", pretty.ToStdStringUtf8().c_str());

    // Broken input fails with a message instead of throwing.
    CKrJsonObject broken;
    CKrJson::readObjectFromString(CKrStringW(L"{\"a\": 1,"), &broken, &error);
    std::printf("broken input: %s\n", error.ToStdStringUtf8().c_str());
    return 0;
}
