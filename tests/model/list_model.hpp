// The models of the two families that keep a list of values under each key.
#pragma once

#include "table_model.hpp"

#include <functional>

namespace model {

struct ListValue {
    std::string data;
    // Of the arraymap only.
    std::uint32_t index = 0;
    // Of the library's node, once it was compared: no call moves it.
    mutable const void *node = nullptr;
};

struct ListEntry {
    std::string key;
    std::vector<ListValue> values;
    mutable const void *node = nullptr;

    bool holds(const std::string &data) const;
};

class ListModel : public TableModel<ListEntry> {
  public:
    std::int32_t maxvalues = -1;
    std::int32_t numvalues = 0;

    void start(std::uint32_t size);
    int clear() override;
    int destroy();
    std::int32_t size() const override
    {
        return numvalues;
    }

    int erase(Text key);
    int setmaxvalues(std::int32_t limit);

    Found index(Text key, std::uint32_t position) const;
    bool isequal(const ListModel &other) const;

    static std::string line(const std::string &key, const ListEntry &entry);
    std::string header(const char *name, const void *address) const;

  protected:
    int append_value(Text key, Text value);
    void drop_value(ListEntry &entry, std::size_t position);
    bool holds(const std::string &key, const std::string &value) const;
    // The entry of a key with all that is asked of the arguments; null with the result otherwise.
    ListEntry *entry_of(Text key, int &result);

    // Calls add(key, value) for every value in iteration order until one fails.
    using Add = std::function<int(Text key, Text value)>;
    int for_each(const ListModel &source, std::uint32_t bucket_count, const Add &add) const;
    int for_each(const ListModel &source, const Add &add) const;

    int refill(const std::function<int()> &add);
    int refill_resized(const ListModel &source, const std::function<int()> &add);

  private:
    void absorb(ListEntry &earlier, ListEntry &later) override;
};

class MultimapModel : public ListModel {
  public:
    int insert(Text key, Text value);
    int find_value(Text key, Text value, std::uint32_t &position) const;
    int casefind(Text key, Text text, std::uint32_t &position) const;
    int delete_value(Text key, Text value);
    int remove(Text key, std::uint32_t position);

    int intersection(const MultimapModel &a, const MultimapModel &b);
    int unite(const MultimapModel &a, const MultimapModel &b);
    int merge(const MultimapModel &source);
    int copy(const MultimapModel &source);

  private:
    int add_missing(const MultimapModel &source);
};

class ArraymapModel : public ListModel {
  public:
    int insert(Text key, Text value);
    // The value may be null if it is empty: `length` says so.
    int replace(Text key, std::uint32_t index, Text value, std::uint32_t length);
    int delete_value(Text key, Text value);
    int remove(Text key, std::uint32_t index);

    int intersection(const ArraymapModel &a, const ArraymapModel &b);
    int unite(const ArraymapModel &a, const ArraymapModel &b);
    int merge(const ArraymapModel &source);
    int copy(const ArraymapModel &source);

  private:
    static void number(ListEntry &entry);
    static std::vector<ListValue>::iterator at_index(ListEntry &entry, std::uint32_t index);
};

} // namespace model
