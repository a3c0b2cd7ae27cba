#include "ZnUtilsLib/Result.h"

namespace ZnUtilsLib {

Result::Result(const Result& other) = default;
Result& Result::operator=(const Result& other) = default;
Result::~Result() = default;

}  // namespace ZnUtilsLib
