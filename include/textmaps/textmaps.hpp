/**
 * @file textmaps.hpp
 * @brief The containers for C++17 programs: handles that own them, over the C interface.
 *
 *     textmaps::map settings;
 *     if (auto done = settings.set<std::uint16_t>("lan.mtu", 1500); !done) {
 *         std::fprintf(stderr, "lan.mtu: %s\n", done.message());
 *     }
 *     if (auto mtu = settings.get<std::uint16_t>("lan.mtu")) {
 *         use(*mtu);
 *     }
 *     for (const auto &[key, value] : settings) {
 *         std::cout << key << '=' << value.text() << '\n';
 *     }
 *
 * Each operation calls the C function that its comment names and does what the C header says there;
 * nothing is looked up or allocated beyond it, and no text is copied. Nothing is thrown: programs
 * without exceptions and RTTI can use it.
 *
 * Write the names with their namespace: `map` alone is also the tag of C's record.
 *
 * Life
 * ----
 * A handle owns its container: it is made empty, moved but not copied, and destroyed at the end of
 * its scope. Without memory for its buckets a new one is released, as is one that was moved from:
 * `if (!handle)` tells. A released one is safe: what needs buckets gives 22, and `set_hashsize` or
 * an assignment makes it live again.
 *
 * Moving a handle moves the record, not the entries: views of keys and values stay valid, iterators
 * do not. A hash function that looks beside its container for a seed finds what lies beside the new
 * place: do not move such a handle out of the record that holds the seed.
 *
 * Types of values
 * ---------------
 * `set`, `try_insert`, `get` and the others take the type T that the value has in the program. It
 * names the row of the table in bucket.h:
 *
 * | T                                     | row             | given as        | read as         |
 * |---------------------------------------|-----------------|-----------------|-----------------|
 * | `std::uint8_t` to `std::uint64_t`     | uint8 to uint64 | T               | T               |
 * | `std::int8_t` to `std::int64_t`       | int8 to int64   | T               | T               |
 * | `bool`, `char`                        | bool, char      | T               | T               |
 * | `std::string_view`, or no T at all    | str             | `zstring`       | T               |
 * | `bytes`                               | none            | T               | T               |
 * | `row::time`                           | time            | `std::int32_t`  | `std::int32_t`  |
 * | `row::uint`                           | uint            | `unsigned int`  | `unsigned int`  |
 * | `row::uchar`                          | uchar           | `unsigned char` | `unsigned char` |
 * | `row::macaddr`                        | macaddr         | `macaddr_t`     | `macaddr_t`     |
 * | `row::ipaddr`                         | ipaddr          | `ipaddr_t`      | `ipaddr_t`      |
 * | `row::cidr`                           | cidr            | `cidr_t`        | `cidr_t`        |
 *
 * `int` is `std::int32_t`, whose row does what the row int does. Addresses are named by their row,
 * since a platform's address record may be a plain number. A T without a row does not compile.
 *
 * What is read as `std::string_view` or `bytes` lies in the container and is valid as long as the
 * value: make a `std::string` of a text that has to last. It needs no NUL at its end.
 *
 * What is not here, such as formatted text, map arrays and printing through a function, is called
 * with the record: `map_replace_fmt(settings.record(), "lan.name", "port-%d", 7)`.
 */
#ifndef TEXTMAPS_TEXTMAPS_HPP
#define TEXTMAPS_TEXTMAPS_HPP

#if __cplusplus < 201703L
#error "textmaps.hpp needs C++17: compile with -std=c++17"
#endif

#include <textmaps/arraymap.h>
#include <textmaps/error.h>
#include <textmaps/map.h>
#include <textmaps/multimap.h>

#include <cassert>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <iterator>
#include <string_view>
#include <type_traits>
#include <utility>

namespace textmaps {

/** @name Results
 * @{
 */

/** What an operation without a value returned: 0, or a number of <errno.h>. */
class [[nodiscard]] status {
  public:
    /** The number of what is refused: see bucket.h. The others are ENOENT and so on. */
    static constexpr int refused = 1;

    /** Takes the result of a C function. */
    constexpr status(int error) noexcept : error_(error)
    {
    }

    /** Whether the operation was done. */
    constexpr explicit operator bool() const noexcept
    {
        return error_ == 0;
    }

    /** The number: 0 if the operation was done. */
    constexpr int error() const noexcept
    {
        return error_;
    }

    /** The number in words: `textmaps_error_text`. */
    const char *message() const noexcept
    {
        return textmaps_error_text(error_);
    }

    friend constexpr bool operator==(status a, status b) noexcept
    {
        return a.error_ == b.error_;
    }
    friend constexpr bool operator!=(status a, status b) noexcept
    {
        return a.error_ != b.error_;
    }

  private:
    int error_;
};

/** A value, or the number that says why there is none. */
template <class T>
class [[nodiscard]] result {
  public:
    /** A value. */
    constexpr result(const T &value) noexcept : value_(value), error_(0)
    {
    }

    /** @param failure  Not 0. */
    constexpr result(status failure) noexcept : value_(), error_(failure.error())
    {
        assert(!failure);
    }

    /** Whether there is a value. */
    constexpr explicit operator bool() const noexcept
    {
        return error_ == 0;
    }

    /** The value. There must be one. */
    constexpr const T &operator*() const noexcept
    {
        assert(error_ == 0);
        return value_;
    }
    /** A member of the value. There must be one. */
    constexpr const T *operator->() const noexcept
    {
        return &**this;
    }

    /** The value, or the given one if there is none. */
    constexpr T value_or(const T &fallback) const noexcept
    {
        return error_ == 0 ? value_ : fallback;
    }

    /** The number: 0 if there is a value. */
    constexpr int error() const noexcept
    {
        return error_;
    }

    /** The number in words: `textmaps_error_text`. */
    const char *message() const noexcept
    {
        return textmaps_error_text(error_);
    }

  private:
    T value_;
    int error_;
};

/** @} */

/** @name Keys, texts and bytes
 * @{
 */

/**
 * A NUL-terminated text as an argument, and no more than its address: a literal, a `std::string` or
 * any other object with a `c_str()`. Such a text ends at its first NUL. NULL gives 22.
 */
class zstring {
  public:
    /** A literal, or another text that a NUL ends. */
    constexpr zstring(const char *text) noexcept : text_(text)
    {
    }

    /** A `std::string`, or what else has a `c_str()`. */
    template <class Text, class = std::enable_if_t<std::is_convertible_v<
                              decltype(std::declval<const Text &>().c_str()), const char *>>>
    constexpr zstring(const Text &text) noexcept : text_(text.c_str())
    {
    }

    /** No NUL need end it, and a copy would cost: make a `std::string` of it. */
    zstring(std::string_view) = delete;

    /** A number is stored with its type: `set<int>("key", 0)`. */
    zstring(int) = delete;

    /** The text's address. */
    constexpr const char *c_str() const noexcept
    {
        return text_;
    }

  private:
    const char *text_;
};

/** A `std::string_view` that ends with a NUL: a key that a container hands out. */
class zstring_view : public std::string_view {
  public:
    /** A text that a NUL ends. */
    explicit constexpr zstring_view(const char *text) noexcept : std::string_view(text)
    {
    }

    /** Its address, for C. */
    constexpr const char *c_str() const noexcept
    {
        return data();
    }

    void remove_suffix(size_type) = delete;
};

/** A value as it is stored: a byte string, which may lie in a container. */
class bytes {
  public:
    constexpr bytes() noexcept = default;

    /** @param data  Not NULL for a value that is to be stored, even if `size` is 0. */
    constexpr bytes(const void *data, std::uint32_t size) noexcept : data_(data), size_(size)
    {
    }

    /** Address of the first byte. */
    constexpr const void *data() const noexcept
    {
        return data_;
    }
    /** Length in bytes. */
    constexpr std::uint32_t size() const noexcept
    {
        return size_;
    }

    /** The text up to the first NUL or the end, whichever comes first. */
    std::string_view text() const noexcept
    {
        const auto *const begin = static_cast<const char *>(data_);
        const char *const end = std::char_traits<char>::find(begin, size_, '\0');
        return {begin, end != nullptr ? static_cast<std::size_t>(end - begin) : size_};
    }

  private:
    const void *data_ = nullptr;
    std::uint32_t size_ = 0;
};

/** @} */

/** Names of rows whose type in the program names another row, or none on every platform. */
namespace row {
struct time;    /**< Seconds. */
struct uint;    /**< As `std::uint32_t`, but read with `strtoll`. */
struct uchar;   /**< As `std::uint8_t`, but read with `strtoll`. */
struct macaddr; /**< A MAC address. */
struct ipaddr;  /**< An IP address. */
struct cidr;    /**< A prefix. */
} // namespace row

namespace detail {

// What an iterator shows is made for the asking; this keeps it for `iterator->member`.
template <class Shown>
class arrow {
  public:
    explicit arrow(const Shown &shown) noexcept : shown_(shown)
    {
    }
    const Shown *operator->() const noexcept
    {
        return &shown_;
    }

  private:
    Shown shown_;
};

} // namespace detail

/** @name What iteration shows
 * @{
 */

/** What a map's iterator shows. */
struct key_and_value {
    zstring_view key; /**< Its text ends with a NUL. */
    bytes value;      /**< Its bytes. */
};

/** The values of a key, in their order. They may be walked until the container changes. */
template <class Node>
class value_list {
  public:
    /** A position among the values. */
    class iterator {
      public:
        using iterator_category = std::input_iterator_tag;
        using value_type = bytes;
        using difference_type = std::ptrdiff_t;
        using pointer = detail::arrow<bytes>;
        using reference = bytes;

        iterator() noexcept = default;
        /** On a value. */
        explicit iterator(const Node *node) noexcept : node_(node)
        {
        }
        /** The value. */
        bytes operator*() const noexcept
        {
            return {node_->data, node_->len};
        }
        /** A member of the value. */
        pointer operator->() const noexcept
        {
            return pointer(**this);
        }
        iterator &operator++() noexcept
        {
            node_ = node_->next;
            return *this;
        }
        iterator operator++(int) noexcept
        {
            const iterator before = *this;
            ++*this;
            return before;
        }
        friend bool operator==(iterator a, iterator b) noexcept
        {
            return a.node_ == b.node_;
        }
        friend bool operator!=(iterator a, iterator b) noexcept
        {
            return a.node_ != b.node_;
        }

      private:
        const Node *node_ = nullptr;
    };

    /** The values from a node on. */
    explicit value_list(const Node *first) noexcept : first_(first)
    {
    }
    /** The first value. */
    iterator begin() const noexcept
    {
        return iterator(first_);
    }
    /** Behind the last value. */
    iterator end() const noexcept
    {
        return iterator();
    }
    /** Whether there is none. */
    bool empty() const noexcept
    {
        return first_ == nullptr;
    }

  private:
    const Node *first_;
};

/** What an iterator of a multimap or arraymap shows. */
template <class Node>
struct key_and_values {
    zstring_view key;        /**< Its text ends with a NUL. */
    value_list<Node> values; /**< In their order. */
};

/** @} */

namespace detail {

// Of each family: its C functions, its iterator over keys, and its record as it is when released.
template <class Record>
struct family;

#define TEXTMAPS_SHARED_CALLS(family)                                                              \
    static constexpr auto init = &family##_init;                                                   \
    static constexpr auto destroy = &family##_destroy;                                             \
    static constexpr auto clear = &family##_clear;                                                 \
    static constexpr auto insert = &family##_insert;                                               \
    static constexpr auto erase = &family##_erase;                                                 \
    static constexpr auto index = &family##_index;                                                 \
    static constexpr auto haskey = &family##_haskey;                                               \
    static constexpr auto dump = &family##_dump;                                                   \
    static constexpr auto sethashsize = &family##_sethashsize;                                     \
    static constexpr auto sethashfunc = &family##_sethashfunc;                                     \
    static constexpr auto setcasekeys = &family##_setcasekeys;                                     \
    static constexpr auto setmaxkeys = &family##_setmaxkeys;                                       \
    static constexpr auto isequal = &family##_isequal;                                             \
    static constexpr auto intersection = &family##_intersection;                                   \
    static constexpr auto merge = &family##_merge;                                                 \
    static constexpr auto copy = &family##_copy

#define TEXTMAPS_LIST_CALLS(family)                                                                \
    using key_iter = family##_key_iter_t;                                                          \
    using value_iter = family##_value_iter_t;                                                      \
    using values = value_list<family##_value_t>;                                                   \
    using shown = key_and_values<family##_value_t>;                                                \
    static shown show(const key_iter &at) noexcept                                                 \
    {                                                                                              \
        return {zstring_view(at.node->key), values(at.node->values.first)};                        \
    }                                                                                              \
    static constexpr auto erase_value = &family##_delete;                                          \
    static constexpr auto remove = &family##_remove;                                               \
    static constexpr auto key_first = &family##_key_first;                                         \
    static constexpr auto key_next = &family##_key_next;                                           \
    static constexpr auto value_first = &family##_value_first;                                     \
    static constexpr auto value_count = &family##_value_count;                                     \
    static constexpr auto setmaxvalues = &family##_setmaxvalues;                                   \
    static constexpr auto unite = &family##_union

template <>
struct family<map_t> {
    static constexpr map_t released = {-1, 0, 0, 0, nullptr, nullptr};
    TEXTMAPS_SHARED_CALLS(map);
    static constexpr auto replace = &map_replace;
    static constexpr auto compare = &map_cmp;
    static constexpr auto key_first = &map_first;
    static constexpr auto key_next = &map_next;
    using key_iter = map_iter_t;
    using shown = key_and_value;
    static shown show(const map_iter_t &at) noexcept
    {
        return {zstring_view(at.entry->key), bytes(at.entry->value, at.entry->valuesz)};
    }
};

template <>
struct family<multimap_t> {
    static constexpr multimap_t released = {-1, -1, 0, 0, 0, 0, nullptr, nullptr};
    TEXTMAPS_SHARED_CALLS(multimap);
    TEXTMAPS_LIST_CALLS(multimap);
    static constexpr auto find = &multimap_find;
};

template <>
struct family<arraymap_t> {
    static constexpr arraymap_t released = {-1, -1, 0, 0, 0, 0, nullptr, nullptr};
    TEXTMAPS_SHARED_CALLS(arraymap);
    TEXTMAPS_LIST_CALLS(arraymap);
    static constexpr auto replace = &arraymap_replace;
};

#undef TEXTMAPS_SHARED_CALLS
#undef TEXTMAPS_LIST_CALLS

// Of each T: what is given for it, what is read, and how the C functions take what is given.
template <class T>
struct row_of {
    static_assert(!std::is_same_v<T, T>,
                  "textmaps: no row stores this type. Take an integer of fixed width, bool, char, "
                  "bytes, std::string_view for text, or a type of textmaps::row.");
};

template <class T>
struct number {
    using argument = T;
    using value = T;
    static constexpr T passed(T given) noexcept
    {
        return given;
    }
};

template <class T>
struct address {
    using argument = T;
    using value = T;
    static constexpr const T *passed(const T &given) noexcept
    {
        return &given;
    }
};

struct text {
    using argument = zstring;
    using value = std::string_view;
    static constexpr const char *passed(zstring given) noexcept
    {
        return given.c_str();
    }
    static std::string_view found(bytes stored) noexcept
    {
        return stored.text();
    }
};

template <>
struct row_of<bytes> {
    using argument = bytes;
    using value = bytes;
    static constexpr bytes passed(bytes given) noexcept
    {
        return given;
    }
    static constexpr bytes found(bytes stored) noexcept
    {
        return stored;
    }
};

// Of each T and family: the C functions of the row.
template <class T, class Record>
struct writers;
template <class T, class Record>
struct readers;

#define TEXTMAPS_WRITTEN_ROW(name, T, kind)                                                        \
    template <>                                                                                    \
    struct row_of<T> : kind {                                                                      \
    };                                                                                             \
    template <>                                                                                    \
    struct writers<T, map_t> {                                                                     \
        static constexpr auto insert = &map_insert_##name;                                         \
        static constexpr auto replace = &map_replace_##name;                                       \
        static constexpr auto compare = &map_cmp_##name;                                           \
    };                                                                                             \
    template <>                                                                                    \
    struct writers<T, multimap_t> {                                                                \
        static constexpr auto insert = &multimap_insert_##name;                                    \
        static constexpr auto find = &multimap_find_##name;                                        \
        static constexpr auto erase_value = &multimap_delete_##name;                               \
    };                                                                                             \
    template <>                                                                                    \
    struct writers<T, arraymap_t> {                                                                \
        static constexpr auto insert = &arraymap_insert_##name;                                    \
        static constexpr auto replace = &arraymap_replace_##name;                                  \
        static constexpr auto erase_value = &arraymap_delete_##name;                               \
    }

#define TEXTMAPS_ROW(name, T, kind)                                                                \
    TEXTMAPS_WRITTEN_ROW(name, T, kind);                                                           \
    template <>                                                                                    \
    struct readers<T, map_t> {                                                                     \
        static constexpr auto get = &map_get_##name;                                               \
    };                                                                                             \
    template <>                                                                                    \
    struct readers<T, multimap_t> {                                                                \
        static constexpr auto get = &multimap_get_##name;                                          \
    };                                                                                             \
    template <>                                                                                    \
    struct readers<T, arraymap_t> {                                                                \
        static constexpr auto get = &arraymap_get_##name;                                          \
    }

TEXTMAPS_ROW(uint64, std::uint64_t, number<std::uint64_t>);
TEXTMAPS_ROW(int64, std::int64_t, number<std::int64_t>);
TEXTMAPS_ROW(uint32, std::uint32_t, number<std::uint32_t>);
TEXTMAPS_ROW(int32, std::int32_t, number<std::int32_t>);
TEXTMAPS_ROW(time, row::time, number<std::int32_t>);
TEXTMAPS_ROW(uint16, std::uint16_t, number<std::uint16_t>);
TEXTMAPS_ROW(int16, std::int16_t, number<std::int16_t>);
TEXTMAPS_ROW(uint8, std::uint8_t, number<std::uint8_t>);
TEXTMAPS_ROW(int8, std::int8_t, number<std::int8_t>);
TEXTMAPS_ROW(bool, bool, number<bool>);
TEXTMAPS_ROW(uint, row::uint, number<unsigned int>);
TEXTMAPS_ROW(uchar, row::uchar, number<unsigned char>);
TEXTMAPS_ROW(char, char, number<char>);
TEXTMAPS_ROW(macaddr, row::macaddr, address<macaddr_t>);
TEXTMAPS_ROW(ipaddr, row::ipaddr, address<ipaddr_t>);
TEXTMAPS_ROW(cidr, row::cidr, address<cidr_t>);
TEXTMAPS_WRITTEN_ROW(str, std::string_view, text);

#undef TEXTMAPS_ROW
#undef TEXTMAPS_WRITTEN_ROW

// Bytes have no functions of their own: these give the family's the shape of a row's.
template <class Record>
struct writers<bytes, Record> {
    static int insert(Record *record, const char *key, bytes given)
    {
        return family<Record>::insert(record, key, given.data(), given.size());
    }
    static int replace(Record *record, const char *key, bytes given)
    {
        return family<Record>::replace(record, key, given.data(), given.size());
    }
    static int replace(Record *record, const char *key, std::uint32_t index, bytes given)
    {
        return family<Record>::replace(record, key, index, given.data(), given.size());
    }
    static int compare(const Record *record, const char *key, bytes given)
    {
        return family<Record>::compare(record, key, given.data(), given.size());
    }
    static int find(const Record *record, const char *key, bytes given, std::uint32_t *index)
    {
        return family<Record>::find(record, key, given.data(), given.size(), index);
    }
    static int erase_value(Record *record, const char *key, bytes given)
    {
        return family<Record>::erase_value(record, key, given.data(), given.size());
    }
};

// The result of a call that returns a number and, if that is 0, writes a value.
template <class Value, class Call>
result<Value> result_of(Call call)
{
    Value value;
    const int error = call(&value);
    if (error != 0) {
        return status(error);
    }
    return value;
}

template <class T, class Record, class... Position>
result<typename row_of<T>::value> get(const Record *record, zstring key, Position... position)
{
    if constexpr (std::is_same_v<T, std::string_view> || std::is_same_v<T, bytes>) {
        const void *data;
        std::uint32_t size;
        const int error = family<Record>::index(record, key.c_str(), position..., &data, &size);
        if (error != 0) {
            return status(error);
        }
        return row_of<T>::found(bytes(data, size));
    } else {
        return result_of<typename row_of<T>::value>([&](auto *value) {
            return readers<T, Record>::get(record, key.c_str(), position..., value);
        });
    }
}

} // namespace detail

/** What is given for a T: see the table of types. */
template <class T>
using argument_of = typename detail::row_of<T>::argument;

/** What is read as a T: see the table of types. */
template <class T>
using value_of = typename detail::row_of<T>::value;

/** A position in the iteration order. The container must neither change nor move meanwhile. */
template <class Record>
class iterator {
    using family = detail::family<Record>;

  public:
    using iterator_category = std::input_iterator_tag;
    using value_type = typename family::shown;
    using difference_type = std::ptrdiff_t;
    using pointer = detail::arrow<value_type>;
    using reference = value_type;

    /** Past the end. */
    iterator() noexcept = default;

    /** On the first key. */
    explicit iterator(const Record &record) : key_(family::key_first(&record, &at_))
    {
    }
    /** The key and what it holds. */
    value_type operator*() const noexcept
    {
        return family::show(at_);
    }
    /** Its key, value or values. */
    pointer operator->() const noexcept
    {
        return pointer(**this);
    }
    iterator &operator++()
    {
        key_ = family::key_next(&at_);
        return *this;
    }
    iterator operator++(int)
    {
        const iterator before = *this;
        ++*this;
        return before;
    }
    friend bool operator==(const iterator &a, const iterator &b) noexcept
    {
        return a.key_ == b.key_;
    }
    friend bool operator!=(const iterator &a, const iterator &b) noexcept
    {
        return a.key_ != b.key_;
    }

  private:
    typename family::key_iter at_ = {};
    const char *key_ = nullptr;
};

/** What the three families do alike. */
template <class Record>
class container {
  protected:
    /** The C functions and types of the family. */
    using family = detail::family<Record>;

  public:
    container(const container &) = delete;
    container &operator=(const container &) = delete;

    /** Whether the container is live: false without memory for its buckets, and once moved from. */
    explicit operator bool() const noexcept
    {
        return record_.buckets != nullptr;
    }

    /** @name The record, for the C functions. It stays the handle's.
     * @{
     */
    /** To change it. */
    Record *record() noexcept
    {
        return &record_;
    }
    /** To read it. */
    const Record *record() const noexcept
    {
        return &record_;
    }
    /** @} */

    /** Hands the container over: the caller is to destroy the record, and the handle is released. */
    [[nodiscard]] Record release() noexcept
    {
        return std::exchange(record_, family::released);
    }

    /** @name Keys
     * @{
     */

    /** Whether there is no key. */
    bool empty() const noexcept
    {
        return record_.numkeys == 0;
    }

    /** The field `numkeys`. */
    std::int32_t key_count() const noexcept
    {
        return record_.numkeys;
    }

    /** Whether the key is there: `*_haskey`. */
    bool contains(zstring key) const
    {
        return family::haskey(&record_, key.c_str()) != 0;
    }

    /** Removes a key with all that it holds: `*_erase`. 2 if it is not there. */
    status erase(zstring key)
    {
        return family::erase(&record_, key.c_str());
    }

    /** Removes every key; the settings and the buckets stay: `*_clear`. */
    void clear()
    {
        family::clear(&record_);
    }

    /** @} */

    /**
     * Adds a value: `*_insert`. 1 if that is refused: the key (map) or the value under the key
     * (multimap) is there already, or the key is new and the key limit is reached. An arraymap
     * appends, whatever is there.
     */
    template <class T = std::string_view>
    status try_insert(zstring key, const argument_of<T> &value)
    {
        return detail::writers<T, Record>::insert(&record_, key.c_str(),
                                                  detail::row_of<T>::passed(value));
    }

    /** @name Iteration
     * `for (const auto &[key, value] : map)`, `[key, values]` in the others.
     * @{
     */
    /** The first key. */
    iterator<Record> begin() const
    {
        return iterator<Record>(record_);
    }
    /** Behind the last key. */
    iterator<Record> end() const noexcept
    {
        return iterator<Record>();
    }
    /** @} */

    /** Prints the content: `*_dump`. */
    void dump(std::FILE *stream) const
    {
        family::dump(&record_, stream);
    }

    /** @name Settings
     * @{
     */

    /** `*_sethashsize`. */
    status set_hashsize(std::uint32_t size)
    {
        return family::sethashsize(&record_, size);
    }

    /** `*_sethashfunc`: it gets the address of the record. */
    void set_hashfunc(map_hash_fn fn)
    {
        family::sethashfunc(&record_, fn);
    }

    /** `*_setcasekeys`. */
    void set_casekeys(bool ignore_case)
    {
        family::setcasekeys(&record_, ignore_case);
    }

    /** `*_setmaxkeys`: mind its one-short rule. */
    status set_maxkeys(std::int32_t limit)
    {
        return family::setmaxkeys(&record_, limit);
    }

    /** @} */

    /** @name Comparing and combining
     * @{
     */

    /** Whether both hold the same: `*_isequal(*this, other)`. */
    bool is_equal(const container &other) const
    {
        return family::isequal(&record_, &other.record_) != 0;
    }

    /** Makes this a copy of the source, its number of buckets included: `*_copy`. */
    status assign(const container &source)
    {
        return family::copy(&source.record_, &record_);
    }

    /** Makes this hold what both hold: `*_intersection`. */
    status assign_intersection(const container &a, const container &b)
    {
        return family::intersection(&a.record_, &b.record_, &record_);
    }

    /** Adds what the source holds: `*_merge`. */
    status merge(const container &source)
    {
        return family::merge(&source.record_, &record_);
    }

    /** @} */

  protected:
    container()
    {
        family::init(&record_);
    }
    /** Takes a record over. */
    explicit container(const Record &record) noexcept : record_(record)
    {
    }
    /** Takes the container of another handle over, which is then released. */
    container(container &&other) noexcept : record_(other.release())
    {
    }
    /** As above; what this one held is destroyed. */
    container &operator=(container &&other) noexcept
    {
        container taken(std::move(other));
        std::swap(record_, taken.record_);
        return *this;
    }
    ~container()
    {
        family::destroy(&record_);
    }

  private:
    Record record_;
};

/** What the multimap and the arraymap do alike: they keep a list of values under each key. */
template <class Record>
class list_container : public container<Record> {
  protected:
    using typename container<Record>::family;
    using container<Record>::container;

  public:
    using container<Record>::record;

    /** The field `numvalues`: the values under all keys together. */
    std::int32_t value_count() const noexcept
    {
        return record()->numvalues;
    }

    /** How many values the key holds: `*_value_count`. Two look-ups in a multimap. */
    std::uint32_t count(zstring key) const
    {
        const auto values = first_value(key);
        return family::value_count(&values);
    }

    /** The values of the key; none if it is not there. One look-up: `*_value_first`. */
    typename family::values values(zstring key) const
    {
        return typename family::values(first_value(key).node);
    }

    /** Reads the value at a position of the key's list, from 0: `*_get_*`, `*_index`. */
    template <class T = std::string_view>
    result<value_of<T>> get(zstring key, std::uint32_t position) const
    {
        return detail::get<T>(record(), key, position);
    }

    /** Removes the value at a position of the key's list (arraymap: of an index): `*_remove`. */
    status remove(zstring key, std::uint32_t position)
    {
        return family::remove(record(), key.c_str(), position);
    }

    /** Removes the value (arraymap: each that is equal) from the key's list: `*_delete`. */
    template <class T = std::string_view>
    status erase_value(zstring key, const argument_of<T> &value)
    {
        return detail::writers<T, Record>::erase_value(record(), key.c_str(),
                                                       detail::row_of<T>::passed(value));
    }

    /** `*_setmaxvalues`: recorded only. */
    status set_maxvalues(std::int32_t limit)
    {
        return family::setmaxvalues(record(), limit);
    }

    /** Makes this hold what either holds: `*_union`. */
    status assign_union(const list_container &a, const list_container &b)
    {
        return family::unite(a.record(), b.record(), record());
    }

  private:
    typename family::value_iter first_value(zstring key) const
    {
        typename family::value_iter values = {};
        family::value_first(record(), key.c_str(), &values);
        return values;
    }
};

/** A map: one value per key. See map.h. */
class map : public container<map_t> {
  public:
    /** Makes an empty map: `map_init`. */
    map() = default;

    /** Takes a map over, as `map_init` made it and others filled it. Do not use `record` again. */
    explicit map(const map_t &record) noexcept : container(record)
    {
    }

    /** Sets the value of a key, whether or not it is there: `map_replace`. */
    template <class T = std::string_view>
    status set(zstring key, const argument_of<T> &value)
    {
        return detail::writers<T, map_t>::replace(record(), key.c_str(),
                                                  detail::row_of<T>::passed(value));
    }

    /** Reads a value: `map_get_*`, `map_index`. */
    template <class T = std::string_view>
    result<value_of<T>> get(zstring key) const
    {
        return detail::get<T>(record(), key);
    }

    /** The order of the stored value and the given one, and -1 without such a key: `map_cmp`. */
    template <class T = std::string_view>
    int compare(zstring key, const argument_of<T> &value) const
    {
        return detail::writers<T, map_t>::compare(record(), key.c_str(),
                                                  detail::row_of<T>::passed(value));
    }
};

/** A multimap: an ordered list of distinct values per key. See multimap.h. */
class multimap : public list_container<multimap_t> {
  public:
    /** Makes an empty multimap: `multimap_init`. */
    multimap() = default;

    /** Takes a multimap over. Do not use `record` again. */
    explicit multimap(const multimap_t &record) noexcept : list_container(record)
    {
    }

    /** The position of a value in the key's list, from 0: `multimap_find`. */
    template <class T = std::string_view>
    result<std::uint32_t> find(zstring key, const argument_of<T> &value) const
    {
        return detail::result_of<std::uint32_t>([&](std::uint32_t *index) {
            return detail::writers<T, multimap_t>::find(record(), key.c_str(),
                                                        detail::row_of<T>::passed(value), index);
        });
    }
};

/** An arraymap: an ordered list of values per key, equal ones included. See arraymap.h. */
class arraymap : public list_container<arraymap_t> {
  public:
    /** Makes an empty arraymap: `arraymap_init`. */
    arraymap() = default;

    /** Takes an arraymap over. Do not use `record` again. */
    explicit arraymap(const arraymap_t &record) noexcept : list_container(record)
    {
    }

    /** Sets the value of an index, which is there: `arraymap_replace`. */
    template <class T = std::string_view>
    status set(zstring key, std::uint32_t index, const argument_of<T> &value)
    {
        return detail::writers<T, arraymap_t>::replace(record(), key.c_str(), index,
                                                       detail::row_of<T>::passed(value));
    }
};

} // namespace textmaps

#endif
