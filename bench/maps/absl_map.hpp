#pragma once

#include "standard_map.hpp"

#include <absl/container/flat_hash_map.h>

namespace bench {

class absl_map
    : public standard_map<absl::flat_hash_map<std::string, std::string>, absl::string_view> {
  public:
    static constexpr const char *name = "absl-flat_hash_map";
    using standard_map::standard_map;
};

} // namespace bench
