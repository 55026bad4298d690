#include "core/Functions.h"

#include <memory>
#include <string_view>
#include <unordered_map>

namespace StandInDriver {

void FillFunctionCode0(FunctionCode* code);
void FillFunctionCode1(FunctionCode* code);
void FillFunctionCode2(FunctionCode* code);
void FillFunctionCode3(FunctionCode* code);

const FunctionDescription kFunctions[kFunctionCount] = {
#define ORRIN_FUNCTION(name, ...) {#name, __VA_ARGS__},
#include "DriverFunctions.inc"
#undef ORRIN_FUNCTION
};

int FindFunction(const char* name) {
    static const auto* const numbers = [] {
        auto* made = new std::unordered_map<std::string_view, int>;
        for (unsigned index = 0; index < kFunctionCount; ++index) {
            made->emplace(kFunctions[index].name, static_cast<int>(index));
        }
        return made;
    }();
    const auto found = numbers->find(name ? name : "");
    return found == numbers->end() ? -1 : found->second;
}

const FunctionCode& CodeOfFunction(unsigned index) {
    static const FunctionCode* const code = [] {
        auto* made = new FunctionCode[kFunctionCount];
        FillFunctionCode0(made);
        FillFunctionCode1(made);
        FillFunctionCode2(made);
        FillFunctionCode3(made);
        return made;
    }();
    return code[index];
}

} // namespace StandInDriver
