#pragma once

#include "common.hpp"

#include <llvm/ADT/StringMap.h>
#include <string>

namespace bench {

class llvm_map {
  public:
    static constexpr const char *name = "llvm-StringMap";

    explicit llvm_map(std::size_t expected) : table_(static_cast<unsigned>(expected))
    {
    }
    void insert(const item &one)
    {
        table_.try_emplace(one.key, value_of(one));
    }
    void replace(const item &one)
    {
        table_.find(one.key)->second = value_of(one);
    }
    const char *find(const char *key) const
    {
        const auto found = table_.find(key);
        return found != table_.end() ? found->second.c_str() : nullptr;
    }
    void erase(const char *key)
    {
        table_.erase(key);
    }
    void clear()
    {
        table_.clear();
    }
    template <class Use>
    void visit(Use use) const
    {
        for (const auto &entry : table_) {
            use(entry.getKeyData(), entry.second.c_str(),
                static_cast<std::uint32_t>(entry.second.size()));
        }
    }
    void copy_from(const llvm_map &other)
    {
        table_ = other.table_;
    }
    bool equals(const llvm_map &other) const
    {
        return table_ == other.table_;
    }
    void dump(std::FILE *stream) const
    {
        dump_sorted(*this, stream);
    }

  private:
    llvm::StringMap<std::string> table_;
};

} // namespace bench
