// CKrClass: the base of the library's run-time classes.  Such a class answers its class name and
// its class record, the variant that the class catalogue stores for it:
//
//   <ClassName runtype="RKrRttiClass">
//     <m_parent1 runtype="CKrStringW" value="IKrSerializer"/> ... <m_parent9 .../>
//   </ClassName>
//
// m_parent1 .. m_parent9 name the interfaces the class implements, in order, empty when unused.
#ifndef ORVIK_SERIALIZERXML_CKRCLASS_H
#define ORVIK_SERIALIZERXML_CKRCLASS_H

#include <initializer_list>

#include "platform/KrTypes.h"
#include "serializerxml/IKrInterface.h"
#include "variant/CKrVariant.h"

class ORVIK_API CKrClass : public virtual IKrInterface {
public:
    // The run type of class records, "RKrRttiClass", and the number of interface slots (9).
    static constexpr char const kClassRecordRunType[] = "RKrRttiClass";
    static constexpr int kInterfaceSlots = 9;

    ~CKrClass() override;
    // The class name, e.g. "CKrSerializerXMLString".  Owned by the class; valid for the
    // process's lifetime.
    virtual char const *GetClass() const = 0;
    // The class record (see above), a new variant owned by the caller.
    virtual CKrVariant GetCKrClassInfo() const = 0;

    // Builds a class record named `className` with `interfaces` in the first slots (at most
    // kInterfaceSlots are kept; null entries are empty).  The run type "RKrRttiClass" is
    // registered with the variant's run-type registry, so a record read back from its XML form
    // is again a record with the nine members.
    static CKrVariant MakeClassRecord(wchar_t const *className,
                                      std::initializer_list<wchar_t const *> interfaces);
    // Registers the run type "RKrRttiClass" (nine empty "CKrStringW" members); idempotent and
    // thread-safe, 0 or the registry's result.  Done when the library loads.
    static int RegisterClassRecordType();
};

#endif
