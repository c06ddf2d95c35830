// Comparing what library and model give.
#pragma once

#include "operation.hpp"
#include "table_model.hpp"

#include <cstdio>
#include <string>
#include <type_traits>

namespace model {

inline std::string shown(const std::string &bytes)
{
    return quoted(bytes);
}

inline std::string shown(const void *pointer)
{
    char text[32];
    std::snprintf(text, sizeof text, "%p", pointer);
    return pointer == nullptr ? "NULL" : text;
}

template <class Number, std::enable_if_t<std::is_integral_v<Number>, int> = 0>
std::string shown(Number number)
{
    return std::to_string(number);
}

class ComparingWorld : public World {
  protected:
    bool agrees() const
    {
        return difference_.empty();
    }

    // Notes the first difference only.
    template <class Value>
    void agree(const char *what, const Value &library, const Value &model)
    {
        if (!(library == model)) {
            differ(what, shown(library), shown(model));
        }
    }

    // Of results of comparing, the sign may be all that counts.
    void agree_in_order(const char *what, int library, int model)
    {
        if (model == any_negative   ? library >= 0
            : model == any_positive ? library <= 0
                                    : library != model) {
            differ(what, shown(library), shown(model));
        }
    }

    void agree_bytes(const char *what, const void *library, std::size_t length,
                     const std::string &model)
    {
        const std::string bytes(static_cast<const char *>(library), length);
        agree(what, bytes, model);
    }

    void differ(const char *what, const std::string &library, const std::string &model)
    {
        if (agrees()) {
            difference_ = std::string(what) + ": library " + library + ", model " + model;
        }
    }

    // Says where it was.
    void locate(const std::string &where)
    {
        difference_ = where + ": " + difference_;
    }
};

} // namespace model
