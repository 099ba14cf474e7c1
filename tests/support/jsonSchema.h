// Checks JSON against a schema, by the few keywords that the project's schema uses.
#pragma once

#include <algorithm>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>

namespace testing_support {

class JsonSchema {
public:
    explicit JsonSchema(nlohmann::json root) : m_root(std::move(root)) {}

    // Where the value breaks the schema and how; empty where it does not.
    [[nodiscard]] std::string fault(const nlohmann::json& value) const { return faultOf(value, m_root, "line"); }

private:
    using Json = nlohmann::json;

    static bool isOfType(const Json& value, const std::string& type) {
        if (type == "object") return value.is_object();
        if (type == "array") return value.is_array();
        if (type == "string") return value.is_string();
        if (type == "boolean") return value.is_boolean();
        if (type == "integer") return value.is_number_integer();
        throw std::logic_error("no such type: " + type);
    }

    [[nodiscard]] std::string faultOf(const Json& value, const Json& schema, const std::string& at) const {
        std::string found;
        for (const auto& [keyword, rule] : schema.items()) {
            found = faultOfKeyword(value, schema, keyword, rule, at);
            if (!found.empty()) break;
        }
        return found;
    }

    [[nodiscard]] std::string faultOfKeyword(const Json& value, const Json& schema, const std::string& keyword,
                                             const Json& rule, const std::string& at) const {
        if (keyword == "$ref")
            return faultOf(value, m_root.at(Json::json_pointer(rule.get<std::string>().substr(1))), at);
        if (keyword == "type") return isOfType(value, rule) ? "" : at + " is no " + rule.get<std::string>();
        if (keyword == "minimum") return value >= rule ? "" : at + " is too small";
        if (keyword == "enum")
            return std::count(rule.begin(), rule.end(), value) == 1 ? "" : at + " is of no known value";
        if (keyword == "anyOf") return faultOfEvery(value, rule, at);
        if (keyword == "items") return faultOfItems(value, rule, at);
        if (keyword == "required") {
            for (const auto& name : rule) {
                if (!value.contains(name)) return at + " lacks " + name.get<std::string>();
            }
            return "";
        }
        if (keyword == "properties") {
            for (const auto& [name, property] : rule.items()) {
                const std::string found = value.contains(name) ? faultOf(value[name], property, at + "." + name) : "";
                if (!found.empty()) return found;
            }
            return "";
        }
        if (keyword == "additionalProperties") {
            for (const auto& [name, property] : value.items()) {
                if (!schema["properties"].contains(name)) return at + " has the unknown " + name;
            }
            return "";
        }
        if (keyword == "$schema" || keyword == "title" || keyword == "description" || keyword == "definitions")
            return "";
        throw std::logic_error("no such keyword: " + keyword);
    }

    [[nodiscard]] std::string faultOfEvery(const Json& value, const Json& schemas, const std::string& at) const {
        std::string all;
        for (const Json& schema : schemas) {
            const std::string found = faultOf(value, schema, at);
            if (found.empty()) return "";
            all += "(" + found + ")";
        }
        return all;
    }

    [[nodiscard]] std::string faultOfItems(const Json& values, const Json& schema, const std::string& at) const {
        for (const Json& value : values) {
            const std::string found = faultOf(value, schema, at + "[]");
            if (!found.empty()) return found;
        }
        return "";
    }

    Json m_root;
};

}  // namespace testing_support
