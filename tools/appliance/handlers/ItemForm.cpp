#include "handlers/ItemForm.h"

#include <limits>

#include "http/Errors.h"

namespace appliance {

namespace {

constexpr std::string_view UnsetTime = "INVALID";
constexpr unsigned long long UnsetAttributes = 0xFFFFFFFF;

std::optional<Ticks> ReadTime(const Fields& fields, std::string_view name) {
    const std::string* text = FindField(fields, name);
    if (text == nullptr || *text == UnsetTime) {
        return std::nullopt;
    }
    const auto ticks = ParseTicks(*text);
    if (!ticks) {
        throw ApiError(ErrorId::Malformed, "'" + *text + "' is no time");
    }
    return ticks;
}

std::optional<std::uint32_t> ReadAttributes(const Fields& fields) {
    const std::string* text = FindField(fields, "attributes");
    if (text == nullptr) {
        return std::nullopt;
    }
    const auto number = ParseNumber(*text);
    if (!number || *number > UnsetAttributes) {
        throw ApiError(ErrorId::Malformed, "'" + *text + "' are no attributes");
    }
    return *number == UnsetAttributes ? std::nullopt : std::optional(static_cast<std::uint32_t>(*number));
}

}  // namespace

ItemValues ReadItemValues(const Fields& fields) {
    ItemValues values;
    values.creationTime = ReadTime(fields, "creation_time");
    values.modificationTime = ReadTime(fields, "modification_time");
    values.attributes = ReadAttributes(fields);
    return values;
}

std::uint64_t RequireSize(const Fields& fields) {
    const std::string* text = FindField(fields, "size");
    const auto size = text == nullptr ? std::nullopt : ParseNumber(*text);
    if (!size) {
        throw ApiError(ErrorId::Malformed, "The upload does not say the file's size ahead of the file");
    }
    return *size;
}

std::optional<std::string> RevisionOf(const Fields& fields) {
    const std::string* revision = FindField(fields, "revision");
    return revision == nullptr || revision->empty() ? std::nullopt : std::optional(*revision);
}

const std::string& RequireField(const Fields& fields, std::string_view name) {
    const std::string* value = FindField(fields, name);
    if (value == nullptr) {
        throw ApiError(ErrorId::Malformed, "The form has no " + std::string(name));
    }
    return *value;
}

Fields RequireQuery(const Request& request) {
    auto query = ParseForm(request.query);
    if (!query) {
        throw ApiError(ErrorId::Malformed, "The query has a malformed percent escape");
    }
    return std::move(*query);
}

ItemPath RequireItemPath(std::string_view encoded) {
    auto path = ParseItemPath(encoded);
    if (!path) {
        throw ApiError(ErrorId::Malformed, "The path names nothing that could be stored");
    }
    return std::move(*path);
}

ItemPath RequirePlainItemPath(std::string_view plain) {
    auto path = ParsePlainItemPath(plain);
    if (!path) {
        throw ApiError(ErrorId::Malformed, "The path names nothing that could be stored");
    }
    return std::move(*path);
}

}  // namespace appliance
