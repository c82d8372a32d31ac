// IKrInterface: the root of every run-time class.  An object created by class name is handed out
// as an IKrInterface-derived pointer; the caller asks it for the interface it needs.
#ifndef ORVIK_SERIALIZERXML_IKRINTERFACE_H
#define ORVIK_SERIALIZERXML_IKRINTERFACE_H

#include "platform/KrTypes.h"

class ORVIK_API IKrInterface {
public:
    virtual ~IKrInterface();
    // The object as the interface (or class) named `interfaceName`, e.g. "IKrSerializer"; null
    // when the object does not implement it or the name is null.  The pointer is owned by the
    // object and valid while it lives; cast it to the named type.
    virtual void *QueryInterface(char const *interfaceName) = 0;

protected:
    IKrInterface() = default;
    IKrInterface(IKrInterface const &) = default;
    IKrInterface &operator=(IKrInterface const &) = default;
};

#endif
