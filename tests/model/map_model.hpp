// The model of a map.
#pragma once

#include "table_model.hpp"

#include <functional>

namespace model {

struct MapEntry {
    std::string key;
    std::string value;
    // Of the library's node, once it was compared: no call moves it.
    mutable const void *node = nullptr;
};

class MapModel : public TableModel<MapEntry> {
  public:
    int destroy();
    int insert(Text key, Text value);
    int replace(Text key, Text value);
    int erase(Text key);

    int cmp(Text key, Text value) const;
    int casecmp(Text key, Text text) const;

    bool isequal(const MapModel &other) const;
    // These fill this map.
    int intersection(const MapModel &a, const MapModel &b);
    int merge(const MapModel &source);
    int copy(const MapModel &source);
    int copy_dst_hashsize(const MapModel &source);

    Found index(Text key) const;

    // A count is stored as an int.
    int array_init(Text name);
    int array_get_max(Text name, int &count) const;
    // With the stored count if `count` is negative.
    int array_get_key(Text name, int index, int count, std::string &key) const;
    // `count_was_read` says how far it came.
    int array_append(Text name, std::string &key, bool &count_was_read);
    int array_pop(Text name);
    int array_clear(Text name);

    // The lines that dumps consist of; without `indented`, those of map_print.
    static std::string line(const std::string &key, const MapEntry &entry);
    std::string header(const void *address) const;

  private:
    void absorb(MapEntry &earlier, MapEntry &later) override;
    int store_int(Text key, int number, int (MapModel::*store)(Text, Text));
    int refill(const std::function<int()> &add);
    int add_all(const MapModel &source);
};

} // namespace model
