#include "common/json.h"

#include <algorithm>
#include <cstdio>
#include <map>
#include <nlohmann/json.hpp>

namespace {

using Library = nlohmann::json;

constexpr size_t deepest = 100; // maximum nesting of a text to be read

// A string or number as JSON text.
std::string written(const Library &leaf)
{
    return leaf.dump(-1, ' ', /*ensure_ascii=*/true, Library::error_handler_t::replace);
}

} // namespace

Json::Json() : Json(Kind::null, 0) {}
Json::Json(Kind kindOfValue, int64_t numberOfValue) : kind(kindOfValue), number(numberOfValue) {}
Json::Json(double value) : Json(Kind::real, 0)
{
    realNumber = value;
}
Json::Json(const char *value) : Json(std::string(value)) {}
Json::Json(std::string_view value) : Json(std::string(value)) {}
Json::Json(std::string value) : Json(Kind::text, 0)
{
    string = std::move(value);
}

Json::Json(const Json &) = default;
Json::Json(Json &&) noexcept = default;
Json &Json::operator=(const Json &) = default;
Json &Json::operator=(Json &&) noexcept = default;
Json::~Json() = default;

Json::Json(std::initializer_list<Field> fields) : Json(Kind::object, 0)
{
    objectMembers.reserve(fields.size());
    for (const Field &field : fields)
        objectMembers.push_back({field.name, std::move(field.value)});
}

Json Json::array()
{
    return {Kind::array, 0};
}

Json Json::object()
{
    return {Kind::object, 0};
}

void Json::push_back(Json value)
{
    need(Kind::array, "array");
    arrayValues.push_back(std::move(value));
}

Json &Json::operator[](const std::string &name)
{
    need(Kind::object, "object");
    for (Member &member : objectMembers)
        if (member.name == name)
            return member.value;
    objectMembers.push_back({name, {}});
    return objectMembers.back().value;
}

void Json::need(Kind wanted, const char *name) const
{
    if (kind != wanted)
        throw JsonError(std::string("a value is not of type ") + name);
}

bool Json::truth() const
{
    need(Kind::boolean, "boolean");
    return number != 0;
}

int64_t Json::integer() const
{
    need(Kind::integer, "integer");
    return number;
}

double Json::real() const
{
    need(Kind::real, "number with a fraction");
    return realNumber;
}

const std::string &Json::text() const
{
    need(Kind::text, "text");
    return string;
}

const std::vector<Json> &Json::values() const
{
    need(Kind::array, "array");
    return arrayValues;
}

const std::vector<Json::Member> &Json::members() const
{
    need(Kind::object, "object");
    return objectMembers;
}

const Json *Json::find(std::string_view name) const
{
    for (const Member &member : members())
        if (member.name == name)
            return &member.value;
    return nullptr;
}

const Json &Json::at(std::string_view name) const
{
    if (const Json *value = find(name))
        return *value;
    throw JsonError("there is no '" + std::string(name) + "'");
}

bool Json::operator==(const Json &other) const
{
    return kind == other.kind && number == other.number && realNumber == other.realNumber &&
           string == other.string && arrayValues == other.arrayValues &&
           objectMembers == other.objectMembers;
}

// Receives what the library parses, one call per element; returning false stops parsing.
class JsonReader final : public nlohmann::json_sax<Library> {
public:
    Json root;
    std::string fault;            // empty if none
    bool refusesRepeated = false; // members given twice

    bool null() override { return take({}); }
    bool boolean(bool value) override { return take(value); }
    bool number_integer(number_integer_t value) override { return take(value); }
    bool number_unsigned(number_unsigned_t value) override
    {
        constexpr auto most = static_cast<number_unsigned_t>(INT64_MAX);
        return value <= most ? take(value) : take(static_cast<double>(value));
    }
    bool number_float(number_float_t value, const string_t &) override { return take(value); }
    bool string(string_t &value) override { return take(std::move(value)); }
    bool binary(binary_t &) override { return false; } // does not occur in text
    bool start_object(size_t) override { return open(Json::object()); }
    bool key(string_t &value) override
    {
        names.back() = std::move(value);
        return true;
    }
    bool end_object() override
    {
        if (!keepLast(around.back()->objectMembers) && refusesRepeated)
            return false;
        return close();
    }
    bool start_array(size_t) override { return open(Json::array()); }
    bool end_array() override { return close(); }
    bool parse_error(size_t, const std::string &, const Library::exception &error) override
    {
        fault = error.what();
        return false;
    }

private:
    Json &place(Json value)
    {
        if (around.empty())
            return root = std::move(value);
        Json &parent = *around.back();
        if (parent.isArray()) {
            parent.arrayValues.push_back(std::move(value));
            return parent.arrayValues.back();
        }
        parent.objectMembers.push_back({std::move(names.back()), std::move(value)});
        return parent.objectMembers.back().value;
    }

    bool take(Json value)
    {
        place(std::move(value));
        return true;
    }

    // Parents do not move while one of their values is open.
    bool open(Json value)
    {
        if (around.size() == deepest) {
            fault = "values are nested more than " + std::to_string(deepest) + " levels deep";
            return false;
        }
        around.push_back(&place(std::move(value)));
        names.emplace_back();
        return true;
    }

    bool close()
    {
        around.pop_back();
        names.pop_back();
        return true;
    }

    // A duplicate name keeps its first position and its last value. False if there is one.
    bool keepLast(std::vector<Json::Member> &members)
    {
        std::map<std::string_view, Json::Member *> first;
        std::vector<Json::Member> kept;
        kept.reserve(members.size()); // so that elements do not move
        for (Json::Member &member : members) {
            const auto found = first.find(member.name);
            if (found != first.end()) {
                fault = path() + member.name + " is given twice";
                found->second->value = std::move(member.value);
                continue;
            }
            kept.push_back(std::move(member));
            first.emplace(kept.back().name, &kept.back());
        }
        const bool unique = kept.size() == members.size();
        members = std::move(kept);
        return unique;
    }

    // Of the open object, as "vlans[3]."; empty for the root.
    [[nodiscard]] std::string path() const
    {
        std::string text;
        for (size_t i = 0; i + 1 < around.size(); ++i)
            if (around[i]->isArray())
                text += "[" + std::to_string(around[i]->arrayValues.size() - 1) + "]";
            else
                text += (text.empty() ? "" : ".") + around[i]->objectMembers.back().name;
        return text.empty() ? text : text + ".";
    }

    std::vector<Json *> around;     // open arrays and objects
    std::vector<std::string> names; // name of the next member of each
};

Json Json::parse(std::string_view text, Repeated repeated)
{
    JsonReader reader;
    reader.refusesRepeated = repeated == Repeated::isRefused;
    if (!Library::sax_parse(text, &reader))
        throw JsonError(reader.fault);
    return std::move(reader.root);
}

Json Json::parseOrNull(std::string_view text)
{
    try {
        return parse(text);
    } catch (const JsonError &) {
        return {};
    }
}

class JsonWriter {
public:
    explicit JsonWriter(size_t indentOfLevel) : indent(indentOfLevel) {}

    std::string text;

    void write(const Json &json)
    {
        switch (json.kind) {
        case Json::Kind::null:
            text += "null";
            break;
        case Json::Kind::boolean:
            text += json.number != 0 ? "true" : "false";
            break;
        case Json::Kind::integer:
            text += std::to_string(json.number);
            break;
        case Json::Kind::real:
            text += written(json.realNumber);
            break;
        case Json::Kind::text:
            text += written(json.string);
            break;
        case Json::Kind::array:
            list('[', json.arrayValues, ']', [this](const Json &value) { write(value); });
            break;
        case Json::Kind::object:
            list('{', json.objectMembers, '}', [this](const Json::Member &member) {
                text += written(member.name) + (indent != 0 ? ": " : ":");
                write(member.value);
            });
            break;
        }
    }

private:
    template <class Values, class Write>
    void list(char begin, const Values &values, char end, const Write &writeOne)
    {
        text += begin;
        ++level;
        for (const auto &value : values) {
            if (&value != &values.front())
                text += ',';
            newLine();
            writeOne(value);
        }
        --level;
        if (!values.empty())
            newLine();
        text += end;
    }

    void newLine()
    {
        if (indent != 0)
            text += '\n' + std::string(level * indent, ' ');
    }

    size_t indent;    // blanks per level; 0 writes a single line
    size_t level = 0; // open arrays and objects
};

std::string Json::oneLine() const
{
    JsonWriter writer(0);
    writer.write(*this);
    return std::move(writer.text);
}

std::string Json::lines() const
{
    JsonWriter writer(2);
    writer.write(*this);
    return std::move(writer.text) + '\n';
}

bool isUtf8(std::string_view text)
{
    try {
        static_cast<void>(Library(text).dump());
        return true;
    } catch (const Library::exception &) {
        return false;
    }
}

void printJson(const Json &json)
{
    puts(json.oneLine().c_str());
}
