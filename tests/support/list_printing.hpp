// What the tests of the renderings share, for both families that keep lists of values.
#pragma once

#include "list_test.hpp"
#include "recorded_hashing.hpp"

// The renderings, each as a text.

template <class Family>
struct Print : Family {
    static constexpr const char *printer = "Print";
    static constexpr bool has_header = false;
    static std::string text(const typename Family::Container *map)
    {
        return written([=](FILE *stream) { Family::print(map, print_to_file, stream); });
    }
};

template <class Family>
struct Dump : Family {
    static constexpr const char *printer = "Dump";
    static constexpr bool has_header = true;
    static std::string text(const typename Family::Container *map)
    {
        return written([=](FILE *stream) { Family::dump(map, stream); });
    }
};

template <class Family>
struct Sndump : Family {
    static constexpr const char *printer = "Sndump";
    static constexpr bool has_header = true;
    static std::string text(const typename Family::Container *map)
    {
        std::vector<char> buffer(100000, '#');
        const uint32_t length =
            Family::sndump(map, buffer.data(), static_cast<uint32_t>(buffer.size()));
        EXPECT_EQ(buffer.at(length), '\0');
        return std::string(buffer.data(), length);
    }
};

template <class... Families>
using PrintersOf = testing::Types<Print<Families>..., Dump<Families>..., Sndump<Families>...>;

struct PrinterName {
    template <class Printer>
    static std::string GetName(int)
    {
        return std::string(Printer::name) + Printer::printer;
    }
};

template <class Family>
class ListPrintingTest : public ListTest<Family> {
  protected:
    using Container = typename Family::Container;

    std::string dumped() const
    {
        return Dump<Family>::text(&this->map);
    }

    // Keys whose iteration order is that of insertion.
    void fill_in_order(const Content &content)
    {
        ASSERT_EQ(Family::sethashfunc(&this->map, hash_all_to_zero), 0);
        fill(this->map, content);
    }

    // A container of each kind that holds no key, and none at all.
    void for_each_empty(const std::function<void(const Container *)> &check)
    {
        typename Family::Own emptied;
        fill(*emptied, {{"a", {"v"}}});
        ASSERT_EQ(Family::remove(&emptied, "a", 0), 0);
        const auto without_buckets = Family::without_buckets();
        std::vector<const Container *> empties = {nullptr, &this->map, &emptied};
        for (const Container &container : without_buckets) {
            empties.push_back(&container);
        }
        for (const Container *empty : empties) {
            SCOPED_TRACE(empty);
            check(empty);
        }
    }
};

template <class Printer>
class ListPrinterTest : public ListPrintingTest<Printer> {
  protected:
    std::string text() const
    {
        return Printer::text(&this->map);
    }

    std::string expected(const std::string &lines) const
    {
        return (Printer::has_header ? header_of(this->map) : "") + lines;
    }
};
