/**
 * @file json.h
 * Values of JSON documents. What reads and writes their text is a library, whose templates take a
 * compiler seconds for each source that sees them: json.cpp alone does.
 */
#ifndef ZARNGI_COMPARISON_DOCUMENTS_JSON_H
#define ZARNGI_COMPARISON_DOCUMENTS_JSON_H

#include <array>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <stdexcept>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

namespace zarngi
{

template <class Value>
concept WholeNumber = std::integral<Value> && !std::same_as<Value, bool>;

/**
 * null, a boolean, a number, a text, an array or an object, whose members keep their order.
 *
 * Braces make an object of pairs of a text and a value, `{{"tested", 7}, {"note", nullptr}}`, and
 * an array of anything else.
 */
class Json
{
public:
    struct Member;
    using Array = std::vector<Json>;
    using Object = std::vector<Member>;

    /** A member is missing, or a value is of another kind than it is taken for. */
    struct exception : std::runtime_error {
        using std::runtime_error::runtime_error;
    };

    Json() noexcept;
    Json(std::nullptr_t) noexcept;
    template <std::same_as<bool> Value> Json(Value value) noexcept;
    template <WholeNumber Value> Json(Value value) noexcept;
    template <std::floating_point Value> Json(Value value) noexcept;
    Json(const char* text);
    Json(std::string_view text);
    Json(std::string text) noexcept;
    Json(std::initializer_list<Json> values);
    template <class Value, class Allocator>
    Json(const std::vector<Value, Allocator>& values) : Json(array())
    {
        addAll(values);
    }
    template <class Value, std::size_t size>
    Json(const std::array<Value, size>& values) : Json(array())
    {
        addAll(values);
    }

    Json(const Json& other);
    Json(Json&& other) noexcept;
    Json& operator=(const Json& other);
    Json& operator=(Json&& other) noexcept;
    ~Json();

    static Json array();
    static Json object();

    /** @throws Json::exception where the text is none of a document, or lies in 100 others */
    static Json parse(std::string_view text);

    /** In one line with an indent of -1, else in as many columns; texts become valid UTF-8. */
    std::string dump(int indent) const;

    bool is_null() const noexcept;
    bool is_boolean() const noexcept;
    bool is_number() const noexcept;
    bool is_number_integer() const noexcept;
    bool is_string() const noexcept;
    bool is_array() const noexcept;
    bool is_object() const noexcept;

    /** Of an array or object; 0 for null, 1 for another value. */
    std::size_t size() const noexcept;
    bool empty() const noexcept { return size() == 0; }

    /** The values of an array. @throws Json::exception for anything but an array or null */
    const Json* begin() const;
    const Json* end() const;
    Json* begin();
    Json* end();
    const Json& front() const;
    const Json& back() const;
    Json& back();

    /** To an array; null becomes one. @throws Json::exception for another value */
    void push_back(Json value);

    /** The members of an object. @throws Json::exception for another value */
    const Object& items() const;

    /** The value of a member; null for none, or where this is no object. */
    const Json* find(std::string_view name) const noexcept;
    bool contains(std::string_view name) const noexcept { return find(name) != nullptr; }
    /** As find(), of members of members: "/files/reference". */
    const Json* follow(std::string_view pointer) const noexcept;
    /** @throws Json::exception for none */
    const Json& at(std::string_view name) const;
    const Json& at(std::size_t index) const;
    Json& at(std::string_view name);
    Json& at(std::size_t index);
    /** The value of a member, which is null when it is new; null becomes an object. */
    Json& operator[](std::string_view name);
    Json& operator[](const char* name) { return (*this)[std::string_view(name)]; }
    Json& operator[](std::size_t index) { return at(index); }
    const Json& operator[](std::string_view name) const { return at(name); }
    const Json& operator[](const char* name) const { return at(std::string_view(name)); }
    const Json& operator[](std::size_t index) const { return at(index); }

    /** Takes the members of another object, in place of those of the same names. */
    void update(const Json& other);

    /**
     * bool, a number, std::string, or a std::vector of these.
     * @throws Json::exception where the value is no such, or too large
     */
    template <class Value> Value get() const
    {
        if constexpr (std::same_as<Value, Json>) {
            return *this;
        } else if constexpr (std::same_as<Value, bool>) {
            return boolean();
        } else if constexpr (std::integral<Value>) {
            return integer<Value>();
        } else if constexpr (std::floating_point<Value>) {
            return static_cast<Value>(number());
        } else if constexpr (std::same_as<Value, std::string>) {
            return text();
        } else {
            return list<Value>();
        }
    }
    /** As get(), of a member; the other value where there is none. */
    template <class Value> Value value(std::string_view name, Value other) const
    {
        const Json* const found = find(name);
        return found != nullptr ? found->get<Value>() : other;
    }

    /** Numbers are equal where their values are. */
    bool operator==(const Json& other) const noexcept;

private:
    struct Text; // between the values and their text

    [[noreturn]] static void refuse(const char* wanted);
    bool boolean() const;
    double number() const;
    std::int64_t signedInteger() const;
    std::uint64_t unsignedInteger() const;
    const std::string& text() const;
    Array& elements();
    const Array& elements() const;

    template <class List> void addAll(const List& values)
    {
        for (const auto& value : values) {
            push_back(value);
        }
    }

    template <class Value> Value integer() const
    {
        if constexpr (std::signed_integral<Value>) {
            const std::int64_t whole = signedInteger();
            if (std::in_range<Value>(whole)) {
                return static_cast<Value>(whole);
            }
        } else {
            const std::uint64_t whole = unsignedInteger();
            if (std::in_range<Value>(whole)) {
                return static_cast<Value>(whole);
            }
        }
        refuse("a number of this size");
    }

    template <class List> List list() const
    {
        List values;
        for (const Json& value : elements()) {
            values.push_back(value.get<typename List::value_type>());
        }
        return values;
    }

    std::variant<std::nullptr_t, bool, std::int64_t, std::uint64_t, double, std::string, Array,
                 Object>
        value_;
};

struct Json::Member {
    std::string name;
    Json value;

    bool operator==(const Member& other) const noexcept = default;
};

// Behind what a value may consist of, whose destructors they use.
template <std::same_as<bool> Value> Json::Json(Value value) noexcept : value_(value)
{
}

template <WholeNumber Value>
Json::Json(Value value) noexcept
    : value_(std::conditional_t<std::signed_integral<Value>, std::int64_t, std::uint64_t>{value})
{
}

template <std::floating_point Value> Json::Json(Value value) noexcept : value_(double{value})
{
}

} // namespace zarngi

#endif
