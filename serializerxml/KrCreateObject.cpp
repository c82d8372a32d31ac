// The process-wide table of run-time classes, class name -> constructor.
#include "serializerxml/KrCreateObject.h"

#include <map>
#include <mutex>
#include <string>

#include "platform/KrPlatform.h"
#include "serializerxml/CKrClass.h"

namespace {

struct ConstructorTable {
    std::mutex lock;
    std::map<std::string, KrConstructor, std::less<>> constructors;
};

ConstructorTable &table() {
    static ConstructorTable t;
    return t;
}

}  // namespace

CKrClass *KR_CreateObject(char const *className) {
    if (!className) return nullptr;
    KrConstructor make = nullptr;
    {
        ConstructorTable &t = table();
        std::lock_guard<std::mutex> guard(t.lock);
        auto it = t.constructors.find(std::string_view(className));
        if (it != t.constructors.end()) make = it->second;
    }
    return make ? make() : nullptr;
}

int KR_RegisterConstructor(char const *className, KrConstructor constructor) {
    if (!className || !constructor) return -4;
    ConstructorTable &t = table();
    std::lock_guard<std::mutex> guard(t.lock);
    auto [it, added] = t.constructors.emplace(className, constructor);
    return added || it->second == constructor ? 0 : -9;
}
