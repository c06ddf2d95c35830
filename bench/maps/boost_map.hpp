#pragma once

#include "standard_map.hpp"

#include <boost/unordered_map.hpp>

namespace bench {

class boost_map : public standard_map<boost::unordered_map<std::string, std::string>, std::string> {
  public:
    static constexpr const char *name = "boost-unordered_map";
    using standard_map::standard_map;
};

} // namespace bench
