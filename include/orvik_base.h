// orvik_base: one include for the whole public interface.
#ifndef ORVIK_BASE_H
#define ORVIK_BASE_H

#include "platform/KrPlatform.h"
#include "platform/KrTypes.h"

#include "strings/CKrAlloc.h"
#include "strings/CKrStringA.h"
#include "strings/CKrStringT.h"
#include "strings/CKrStringTokenizer.h"
#include "strings/CKrStringUtils.h"
#include "strings/CKrStringW.h"

#include "types/Base64Coder.h"
#include "types/CKrByteArray.h"
#include "types/CKrVector.h"

#include "variant/CKrList.h"
#include "variant/CKrListTyped.h"
#include "variant/CKrListVariant.h"
#include "variant/CKrLiteVariantR.h"
#include "variant/CKrLiteVariantRHolder.h"
#include "variant/CKrLiteVariantW.h"
#include "variant/CKrRefLiteVariantR.h"
#include "variant/CKrVariant.h"
#include "variant/CKrVariantData.h"
#include "variant/CKrVariantRunType.h"
#include "variant/EKrKeyType.h"
#include "variant/EKrLiteVariantType.h"
#include "variant/KrDataFormat.h"

#include "xmltree/CKrXMLNode.h"
#include "xmltree/CKrXMLNodeSet.h"
#include "xmltree/CKrXMLTree.h"

#include "serializerxml/CKrClass.h"
#include "serializerxml/CKrSerializerXMLString.h"
#include "serializerxml/CKrXMLAPI.h"
#include "serializerxml/IKrInterface.h"
#include "serializerxml/IKrSerializer.h"
#include "serializerxml/KrCreateObject.h"

#include "json/CKrJson.h"
#include "json/CKrJsonArray.h"
#include "json/CKrJsonObject.h"
#include "json/CKrJsonValue.h"
#include "json/CKrVariantJson.h"

#include "time/KrDateSpan.h"
#include "time/KrDateTime.h"
#include "time/KrTimeSpan.h"

#include "units/KrUnits.h"

#include "events/KrEvent.h"

#endif
