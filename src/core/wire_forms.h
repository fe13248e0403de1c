// JSON forms of the value types that many requests share. Any thread.
#pragma once

#include <cstddef>
#include <json/value.h>
#include <span>
#include <vector>

#include <zivra/types.h>

namespace zivra::internal {

class JsonText;

// An array, empty if there are none.
Json::Value numbersJson(std::span<const double> numbers);

// Sets the type's members on `value` and leaves others alone.
void writeFrame(const Frame& frame, Json::Value& value);
Json::Value writeLoad(const Load& load, Json::Value& value);
Json::Value writeToolset(const Toolset& toolset, Json::Value& value);
// `redundant` sends the elbow as "redundant": [e] instead of "elb": e.
Json::Value writeCartesian(const CartesianPosition& position, bool redundant, Json::Value& value);

// The plain form of a move's point as a whole object, with "offset" unless its type is none.
void appendPoint(const CartesianPosition& position, const CartesianPosition::Offset& offset, JsonText& out);

// Tolerant readers: a missing or short member leaves zeros. `malformed`, where given, is set to true if a
// member that is there has the wrong JSON type (a text where a number is read), which makes the whole reply
// one that can't be understood.
Frame readFrame(const Json::Value& value, bool* malformed = nullptr);
CartesianPosition readCartesian(const Json::Value& value, bool* malformed = nullptr);
Load readLoad(const Json::Value& value, bool* malformed = nullptr);
// 0 on success, 1 on failure.
int readToolset(const Json::Value& value, Toolset& toolset, bool* malformed = nullptr);
// The first n elements; 1 and `out` as it was if there are fewer, or one of them is no number.
int readArray(const Json::Value& value, double* out, std::size_t n);
// 1 and `out` as it was unless an array of numbers.
int readVector(const Json::Value& value, std::vector<double>& out);

}  // namespace zivra::internal
