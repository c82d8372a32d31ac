// IKrSerializer: turns a variant into a serial form and back.  What to write to or read from
// is passed as named items of a parameters variant; each implementation documents its items.
#ifndef ORVIK_SERIALIZERXML_IKRSERIALIZER_H
#define ORVIK_SERIALIZERXML_IKRSERIALIZER_H

#include "platform/KrTypes.h"
#include "serializerxml/IKrInterface.h"

class CKrVariant;

class ORVIK_API IKrSerializer : public virtual IKrInterface {
public:
    ~IKrSerializer() override;
    // 0 on success, a negative result code otherwise.
    virtual int Save(CKrVariant const &source, CKrVariant const &parameters) = 0;
    virtual int Load(CKrVariant &target, CKrVariant const &parameters) = 0;
};

#endif
