// orvik_base: one include for the whole public interface.
#ifndef ORVIK_BASE_H
#define ORVIK_BASE_H

#include "platform/KrPlatform.h"
#include "platform/KrTypes.h"

#include "strings/CKrAlloc.h"
#include "strings/CKrStringA.h"
#include "strings/CKrStringTokenizer.h"
#include "strings/CKrStringUtils.h"
#include "strings/CKrStringW.h"

#include "types/Base64Coder.h"
#include "types/CKrByteArray.h"
#include "types/CKrVector.h"

#include "units/KrUnits.h"

#include "events/KrEvent.h"

#endif
