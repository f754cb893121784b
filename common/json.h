// JSON as a tree of values, for reading and writing. Only one unit includes the JSON library,
// because it is slow to compile.
#pragma once

#include <concepts>
#include <cstdint>
#include <initializer_list>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

// Text that is not JSON, or a value of the wrong type.
struct JsonError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

class Json {
public:
    struct Field;
    struct Member;

    Json(); // null
    Json(std::nullptr_t) : Json() {}
    Json(std::same_as<bool> auto value) : Json(Kind::boolean, value ? 1 : 0) {}
    template <std::integral Integer>
    requires(!std::same_as<Integer, bool>) Json(Integer value)
        : Json(Kind::integer, static_cast<int64_t>(value))
    {
    }
    Json(double value);
    Json(const char *value);
    Json(std::string_view value);
    Json(std::string value);
    template <class List>
    requires(!std::convertible_to<const List &, std::string_view> &&
             requires(const List &values) { values.begin() != values.end(); })
        Json(const List &values)
        : Json(Kind::array, 0)
    {
        for (const auto &value : values)
            push_back(value);
    }

    // Not inline, since every unit that prints would contain a copy.
    Json(const Json &);
    Json(Json &&) noexcept;
    Json &operator=(const Json &);
    Json &operator=(Json &&) noexcept;
    ~Json();

    Json(std::initializer_list<Field> fields); // an object

    [[nodiscard]] static Json array();
    [[nodiscard]] static Json object();

    // Throws a JsonError if the text is not JSON, or is nested too deeply. Of a member that is
    // given twice the last value counts, or the text is refused.
    enum class Repeated {
        lastCounts,
        isRefused
    };
    [[nodiscard]] static Json parse(std::string_view text,
                                    Repeated repeated = Repeated::lastCounts);
    [[nodiscard]] static Json parseOrNull(std::string_view text); // null instead

    // To an array. Named as containers name it. NOLINTNEXTLINE(readability-identifier-naming)
    void push_back(Json value);
    Json &operator[](const std::string &name); // of an object; created if missing

    [[nodiscard]] bool isNull() const { return kind == Kind::null; }
    [[nodiscard]] bool isBoolean() const { return kind == Kind::boolean; }
    [[nodiscard]] bool isInteger() const { return kind == Kind::integer; }
    [[nodiscard]] bool isReal() const { return kind == Kind::real; }
    [[nodiscard]] bool isText() const { return kind == Kind::text; }
    [[nodiscard]] bool isArray() const { return kind == Kind::array; }
    [[nodiscard]] bool isObject() const { return kind == Kind::object; }

    // The value; throws a JsonError if it has another type.
    [[nodiscard]] bool truth() const;
    [[nodiscard]] int64_t integer() const;
    [[nodiscard]] double real() const;
    [[nodiscard]] const std::string &text() const;
    [[nodiscard]] const std::vector<Json> &values() const;    // of an array
    [[nodiscard]] const std::vector<Member> &members() const; // of an object, in order

    // A member of an object; if missing, find returns null and at throws.
    [[nodiscard]] const Json *find(std::string_view name) const;
    [[nodiscard]] const Json &at(std::string_view name) const;

    bool operator==(const Json &other) const;

    // In ASCII, so that control characters and marks that reverse the writing direction do not
    // reach a terminal. Bytes that are not UTF-8 become U+FFFD.
    [[nodiscard]] std::string oneLine() const;
    [[nodiscard]] std::string lines() const; // one value per line, indented, with line ends

private:
    friend class JsonReader;
    friend class JsonWriter;

    enum class Kind {
        null,
        boolean,
        integer,
        real,
        text,
        array,
        object
    };

    Json(Kind kindOfValue, int64_t numberOfValue);
    void need(Kind wanted, const char *name) const;

    Kind kind;
    int64_t number; // of an integer; 0 or 1 for a boolean
    double realNumber = 0;
    std::string string;
    std::vector<Json> arrayValues;
    std::vector<Member> objectMembers;
};

// A member in the initialiser of an object.
struct Json::Field {
    const char *name;
    mutable Json value; // moved from
};

struct Json::Member {
    std::string name;
    Json value;

    bool operator==(const Member &) const = default;
};

// Whether a text can be written unchanged.
bool isUtf8(std::string_view text);

// Prints one line to standard output.
void printJson(const Json &json);
