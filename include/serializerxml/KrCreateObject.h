// The process-wide table of run-time classes: class name -> constructor.  The library registers
// its own classes ("CKrSerializerXMLString") when it loads; modules may add theirs.
#ifndef ORVIK_SERIALIZERXML_KRCREATEOBJECT_H
#define ORVIK_SERIALIZERXML_KRCREATEOBJECT_H

#include "platform/KrTypes.h"

class CKrClass;

// Creates a new object of that class; the caller deletes it.
typedef CKrClass *(*KrConstructor)();

// A new object of the class named `className` (exact, case-sensitive), owned by the caller;
// null when no such class is registered or the name is null.  Thread-safe.
ORVIK_API CKrClass *KR_CreateObject(char const *className);
// Registers `constructor` under `className`.  0 when registered or already registered with the
// same constructor; -4 for a null argument; -9 when the name is taken by another constructor
// (the first one stays).  Thread-safe.
ORVIK_API int KR_RegisterConstructor(char const *className, KrConstructor constructor);

#endif
