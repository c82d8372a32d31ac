// orvik_base: one include for the whole public interface.
#ifndef ORVIK_BASE_H
#define ORVIK_BASE_H

#include "platform/KrTypes.h"
#include "platform/KrPlatform.h"

#include "strings/CKrAlloc.h"
#include "strings/CKrStringA.h"
#include "strings/CKrStringW.h"
#include "strings/CKrStringUtils.h"
#include "strings/CKrStringTokenizer.h"

#endif
