// std::unordered_map, and what has its interface.
#pragma once

#include "common.hpp"

#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>

namespace bench {

// Table::find takes a Key, made of the caller's text.
template <class Table, class Key>
class standard_map {
  public:
    explicit standard_map(std::size_t expected)
    {
        table_.reserve(expected);
    }
    void insert(const item &one)
    {
        table_.try_emplace(one.key, value_of(one));
    }
    void replace(const item &one)
    {
        table_.find(Key(one.key))->second = value_of(one);
    }
    const char *find(const char *key) const
    {
        const auto found = table_.find(Key(key));
        return found != table_.end() ? found->second.c_str() : nullptr;
    }
    void erase(const char *key)
    {
        const auto found = table_.find(Key(key));
        if (found != table_.end()) {
            table_.erase(found);
        }
    }
    void clear()
    {
        table_.clear();
    }
    template <class Use>
    void visit(Use use) const
    {
        for (const auto &[key, value] : table_) {
            use(key.c_str(), value.c_str(), static_cast<std::uint32_t>(value.size()));
        }
    }
    void copy_from(const standard_map &other)
    {
        table_ = other.table_;
    }
    bool equals(const standard_map &other) const
    {
        return table_ == other.table_;
    }
    void dump(std::FILE *stream) const
    {
        dump_sorted(*this, stream);
    }

  private:
    Table table_;
};

struct text_hash : std::hash<std::string_view> {
    using is_transparent = void;
};

class unordered_map_17
    : public standard_map<std::unordered_map<std::string, std::string>, std::string> {
  public:
    static constexpr const char *name = "unordered_map";
    using standard_map::standard_map;
};

class unordered_map_20
    : public standard_map<std::unordered_map<std::string, std::string, text_hash, std::equal_to<>>,
                          std::string_view> {
  public:
    static constexpr const char *name = "unordered_map-transparent";
    using standard_map::standard_map;
};

} // namespace bench
