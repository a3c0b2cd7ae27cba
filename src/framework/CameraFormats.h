#pragma once

#include "framework/BuiltinConverterTable.h"

namespace ZnConvertersLib {

// The converters RegisterCameraFormats built; null until it has run.
const BuiltinConverterList* GetCameraFormatConverters();

}  // namespace ZnConvertersLib
