#pragma once

#include <string>

// Names a typed test after its type.
struct TypeName {
    template <class Type>
    static std::string GetName(int)
    {
        return Type::name;
    }
};
