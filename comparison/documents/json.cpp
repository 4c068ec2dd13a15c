#include "comparison/documents/json.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <type_traits>

namespace zarngi
{

namespace
{

using Parsed = nlohmann::ordered_json;

/** Far beyond any document that is wanted, and far from the end of the stack. */
constexpr int deepest = 100;

template <class Value>
constexpr bool isNumber = std::is_arithmetic_v<Value> && !std::same_as<Value, bool>;

template <class Whole, class Number> bool isEqual(Whole one, Number other)
{
    if constexpr (std::integral<Whole> && std::integral<Number>) {
        return std::cmp_equal(one, other);
    } else {
        return static_cast<double>(one) == static_cast<double>(other);
    }
}

} // namespace

struct Json::Text {
    static Json read(const Parsed& parsed, int depth);
    static Parsed written(const Json& json);

private:
    static Json readArray(const Parsed& parsed, int depth);
    static Json readObject(const Parsed& parsed, int depth);
    static Parsed written(const Array& array);
    static Parsed written(const Object& object);
};

Json Json::Text::read(const Parsed& parsed, int depth)
{
    if (depth > deepest) {
        throw exception("a value lies in too many others");
    }
    switch (parsed.type()) {
    case Parsed::value_t::boolean:
        return parsed.get<bool>();
    case Parsed::value_t::number_integer:
        return parsed.get<std::int64_t>();
    case Parsed::value_t::number_unsigned:
        return parsed.get<std::uint64_t>();
    case Parsed::value_t::number_float:
        return parsed.get<double>();
    case Parsed::value_t::string:
        return parsed.get_ref<const std::string&>();
    case Parsed::value_t::array:
        return readArray(parsed, depth + 1);
    case Parsed::value_t::object:
        return readObject(parsed, depth + 1);
    default:
        return nullptr;
    }
}

Json Json::Text::readArray(const Parsed& parsed, int depth)
{
    Json array = Json::array();
    for (const Parsed& value : parsed) {
        array.push_back(read(value, depth));
    }
    return array;
}

Json Json::Text::readObject(const Parsed& parsed, int depth)
{
    Json object = Json::object();
    for (const auto& [name, value] : parsed.get_ref<const Parsed::object_t&>()) {
        std::get<Object>(object.value_).push_back({name, read(value, depth)});
    }
    return object;
}

Parsed Json::Text::written(const Json& json)
{
    return std::visit(
        [](const auto& value) -> Parsed {
            using Value = std::decay_t<decltype(value)>;
            if constexpr (std::same_as<Value, Array> || std::same_as<Value, Object>) {
                return written(value);
            } else {
                return value;
            }
        },
        json.value_);
}

Parsed Json::Text::written(const Array& array)
{
    Parsed parsed = Parsed::array();
    for (const Json& value : array) {
        parsed.push_back(written(value));
    }
    return parsed;
}

Parsed Json::Text::written(const Object& object)
{
    // Names differ already: none has to be looked for among those before it.
    std::vector<Parsed::object_t::value_type> members;
    members.reserve(object.size());
    for (const Member& member : object) {
        members.emplace_back(member.name, written(member.value));
    }
    Parsed parsed = Parsed::object();
    static_cast<Parsed::object_t::Container&>(parsed.get_ref<Parsed::object_t&>()) =
        std::move(members);
    return parsed;
}

Json::Json() noexcept = default;
Json::Json(std::nullptr_t) noexcept
{
}
Json::Json(const char* text) : value_(std::string(text))
{
}
Json::Json(std::string_view text) : value_(std::string(text))
{
}
Json::Json(std::string text) noexcept : value_(std::move(text))
{
}

Json::Json(std::initializer_list<Json> values)
{
    const bool isObject = std::all_of(values.begin(), values.end(), [](const Json& value) {
        return value.is_array() && value.size() == 2 && value.front().is_string();
    });
    if (!isObject) {
        value_ = Array(values);
        return;
    }
    value_ = Object();
    for (const Json& pair : values) {
        (*this)[pair.front().text()] = pair.back();
    }
}

Json::Json(const Json& other) = default;
Json::Json(Json&& other) noexcept = default;
Json& Json::operator=(const Json& other) = default;
Json& Json::operator=(Json&& other) noexcept = default;
Json::~Json() = default;

Json Json::array()
{
    Json json;
    json.value_ = Array();
    return json;
}

Json Json::object()
{
    Json json;
    json.value_ = Object();
    return json;
}

Json Json::parse(std::string_view text)
{
    const Parsed parsed = Parsed::parse(text, nullptr, false);
    if (parsed.is_discarded()) {
        throw exception("this is no JSON document");
    }
    return Text::read(parsed, 0);
}

std::string Json::dump(int indent) const
{
    return Text::written(*this).dump(indent, ' ', false, Parsed::error_handler_t::replace);
}

bool Json::is_null() const noexcept
{
    return std::holds_alternative<std::nullptr_t>(value_);
}

bool Json::is_boolean() const noexcept
{
    return std::holds_alternative<bool>(value_);
}

bool Json::is_number() const noexcept
{
    return is_number_integer() || std::holds_alternative<double>(value_);
}

bool Json::is_number_integer() const noexcept
{
    return std::holds_alternative<std::int64_t>(value_) ||
           std::holds_alternative<std::uint64_t>(value_);
}

bool Json::is_string() const noexcept
{
    return std::holds_alternative<std::string>(value_);
}

bool Json::is_array() const noexcept
{
    return std::holds_alternative<Array>(value_);
}

bool Json::is_object() const noexcept
{
    return std::holds_alternative<Object>(value_);
}

std::size_t Json::size() const noexcept
{
    if (const auto* const array = std::get_if<Array>(&value_)) {
        return array->size();
    }
    const auto* const object = std::get_if<Object>(&value_);
    return object != nullptr ? object->size() : is_null() ? 0 : 1;
}

const Json* Json::begin() const
{
    return is_null() ? nullptr : elements().data();
}

const Json* Json::end() const
{
    return is_null() ? nullptr : elements().data() + elements().size();
}

Json* Json::begin()
{
    return is_null() ? nullptr : elements().data();
}

Json* Json::end()
{
    return is_null() ? nullptr : elements().data() + elements().size();
}

const Json& Json::front() const
{
    return at(std::size_t{0});
}

const Json& Json::back() const
{
    return at(size() - 1);
}

Json& Json::back()
{
    return at(size() - 1);
}

void Json::push_back(Json value)
{
    if (is_null()) {
        value_ = Array();
    }
    elements().push_back(std::move(value));
}

const Json::Object& Json::items() const
{
    if (const auto* const object = std::get_if<Object>(&value_)) {
        return *object;
    }
    refuse("an object");
}

const Json* Json::find(std::string_view name) const noexcept
{
    const auto* const object = std::get_if<Object>(&value_);
    if (object == nullptr) {
        return nullptr;
    }
    const auto found = std::find_if(object->begin(), object->end(),
                                    [&](const Member& member) { return member.name == name; });
    return found != object->end() ? &found->value : nullptr;
}

const Json* Json::follow(std::string_view pointer) const noexcept
{
    const Json* value = this;
    while (value != nullptr && !pointer.empty()) {
        pointer.remove_prefix(1);
        const std::string_view name = pointer.substr(0, pointer.find('/'));
        value = value->find(name);
        pointer.remove_prefix(name.size());
    }
    return value;
}

const Json& Json::at(std::string_view name) const
{
    if (const Json* const found = find(name)) {
        return *found;
    }
    refuse("an object with this member");
}

Json& Json::at(std::string_view name)
{
    return const_cast<Json&>(std::as_const(*this).at(name));
}

const Json& Json::at(std::size_t index) const
{
    const Array& array = elements();
    if (index < array.size()) {
        return array[index];
    }
    refuse("an array with this element");
}

Json& Json::at(std::size_t index)
{
    return const_cast<Json&>(std::as_const(*this).at(index));
}

Json& Json::operator[](std::string_view name)
{
    if (is_null()) {
        value_ = Object();
    }
    if (contains(name)) {
        return at(name);
    }
    if (!is_object()) {
        refuse("an object");
    }
    return std::get<Object>(value_).emplace_back(Member{std::string(name), {}}).value;
}

void Json::update(const Json& other)
{
    for (const Member& member : other.items()) {
        (*this)[member.name] = member.value;
    }
}

bool Json::operator==(const Json& other) const noexcept
{
    return std::visit(
        []<class One, class Other>(const One& one, const Other& another) {
            if constexpr (isNumber<One> && isNumber<Other>) {
                return isEqual(one, another);
            } else if constexpr (std::same_as<One, Other>) {
                return one == another;
            } else {
                return false;
            }
        },
        value_, other.value_);
}

void Json::refuse(const char* wanted)
{
    throw exception(std::string("a value is not ") + wanted);
}

bool Json::boolean() const
{
    if (const bool* const value = std::get_if<bool>(&value_)) {
        return *value;
    }
    refuse("a boolean");
}

double Json::number() const
{
    return std::visit(
        []<class Value>(const Value& value) -> double {
            if constexpr (isNumber<Value>) {
                return static_cast<double>(value);
            } else {
                refuse("a number");
            }
        },
        value_);
}

std::int64_t Json::signedInteger() const
{
    const std::uint64_t* const whole = std::get_if<std::uint64_t>(&value_);
    if (whole != nullptr && std::in_range<std::int64_t>(*whole)) {
        return static_cast<std::int64_t>(*whole);
    }
    if (const std::int64_t* const value = std::get_if<std::int64_t>(&value_)) {
        return *value;
    }
    refuse("a whole number");
}

std::uint64_t Json::unsignedInteger() const
{
    const std::int64_t* const whole = std::get_if<std::int64_t>(&value_);
    if (whole != nullptr && *whole >= 0) {
        return static_cast<std::uint64_t>(*whole);
    }
    if (const std::uint64_t* const value = std::get_if<std::uint64_t>(&value_)) {
        return *value;
    }
    refuse("a whole number of 0 or more");
}

const std::string& Json::text() const
{
    if (const auto* const value = std::get_if<std::string>(&value_)) {
        return *value;
    }
    refuse("a text");
}

const Json::Array& Json::elements() const
{
    if (const auto* const array = std::get_if<Array>(&value_)) {
        return *array;
    }
    refuse("an array");
}

Json::Array& Json::elements()
{
    return const_cast<Array&>(std::as_const(*this).elements());
}

} // namespace zarngi
