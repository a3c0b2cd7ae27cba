#pragma once

#include <memory>
#include <vector>

#include "ZnConvertersLib/PixelConverter.h"
#include "types/BuiltinPixelTypes.h"

namespace ZnConvertersLib {

// The converters built at load. Objects are kept in construction order and destroyed in
// reverse order; each registered itself (first object for a pair wins) when built.
class BuiltinConverterList {
public:
    BuiltinConverterList() = default;
    BuiltinConverterList(const BuiltinConverterList&) = delete;
    BuiltinConverterList& operator=(const BuiltinConverterList&) = delete;
    ~BuiltinConverterList() {
        while (!mObjects.empty()) mObjects.pop_back();
    }

    const PixelConverter& Add(std::unique_ptr<PixelConverter> converter) {
        mObjects.push_back(std::move(converter));
        return *mObjects.back();
    }
    size_t Count() const { return mObjects.size(); }
    const PixelConverter& At(size_t index) const { return *mObjects[index]; }

private:
    std::vector<std::unique_ptr<PixelConverter>> mObjects;
};

// Builds the converters of one family (built right after its pixel types), in table order,
// appending them to list.
void BuildBuiltinConverters(BuiltinTypeFamily family, BuiltinConverterList& list);

}  // namespace ZnConvertersLib
