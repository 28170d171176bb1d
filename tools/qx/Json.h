#pragma once

#include "config/Configuration.h"
#include "config/ConnectorSettings.h"
#include "runtime/Nullable.h"

#include <nlohmann/json.hpp>

#include <cstdint>
#include <string_view>

/// What the commands print for scripts: one document, its keys in the order they are written in.
namespace qx
{

using Json = nlohmann::ordered_json;

/// The shortest number that reads back as the same float, or the text "inf", "-inf" or "nan".
Json ToJson(float number);
Json ToJson(std::uint64_t number);
Json ToJson(std::wstring_view text);

template <class T>
Json ToJson(const qpr::Nullable<T>& value)
{
    return value.IsNull() ? Json(nullptr) : ToJson(value.Value());
}

/// One document, on the standard output.
void Print(const Json& document);

} // namespace qx
