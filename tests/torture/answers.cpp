// The agent that answers everything well.
#include <catalogue/qv_client_catalogue.hpp>

#include "good_calls.hpp"

namespace torture {

using quorvel::catalogue::Kind;
using namespace scripted;

namespace {

constexpr auto sample_text = "text";

/// Where the library reads a text's content, it must find some.
std::string sample_text_of(std::string_view name)
{
    if (name == "reserved")
        return R"({"group_id":"living","ui_meta_ver":"1","subgroup_id":"sofa"})";
    if (name == "device_list")
        return R"({"v1":["lamp","fan"],"v2":["door"]})";
    if (name == "state")
        return "TRUE";
    if (name == "event")
        return "add_group";
    return sample_text;
}

/// A bundle with everything that the accessors look for; the texts pass as numbers and as truths.
BundleItems sample_bundle()
{
    static const BundleItems items = [] {
        BundleItems made;
        for (const char* const key : {"isMigrated",
                                      "lastUpdatedDate",
                                      "deviceModel",
                                      "error_code",
                                      "jwt",
                                      "ssid",
                                      "language",
                                      "ciHostAddress",
                                      "deviceName",
                                      "isCloudAccessible",
                                      "freq",
                                      "owned",
                                      "otmSupport",
                                      "softApAddress",
                                      "deviceId",
                                      "deviceGroupId",
                                      "deviceGroupType",
                                      "deviceGroupRestrictionTier",
                                      "favoriteId",
                                      "sortOrder",
                                      "installedAppId",
                                      "locationId",
                                      "roomId",
                                      "ruleId",
                                      "sceneId"})
            made.emplace(key, std::string("1"));
        for (const char* const key : {"qclocations", "wifiModes", "protocolList"})
            made.emplace(key, Strings{"1", "2"});
        made.emplace("TransferData", Bytes(200, 7));
        return made;
    }();
    return items;
}

}  // namespace

const quorvel::catalogue::Interface& description()
{
    return quorvel::catalogue::qv_client;
}

Values sample(const quorvel::catalogue::Type& type, std::string_view name)
{
    switch (type.kind) {
        case Kind::text:
            return {text(sample_text_of(name))};
        case Kind::number:
            return {i32(name == "result" ? 0 : 1)};
        case Kind::long_number:
            return {i64(1)};
        case Kind::flag:
            return {flag(name != "caching")};
        case Kind::bundle:
            return {bundle_of(sample_bundle())};
        case Kind::text_list:
            return texts({sample_text_of(name), sample_text_of(name), sample_text_of(name)});
        case Kind::record: {
            Values values;
            for (const auto& field : type.record->fields)
                values.add(sample(field.type, field.name));
            return values;
        }
        case Kind::array: {
            if (type.array->element.kind == Kind::text)
                return texts({sample_text, sample_text, sample_text});
            const Values element = sample(type.array->element, type.array->name);
            return {count(3), element, element, element};
        }
        case Kind::delegate:
            return {};
    }
    return {};
}

Values sample(std::span<const quorvel::catalogue::Parameter> parameters)
{
    Values values;
    for (const auto& parameter : parameters)
        values.add(sample(parameter.type, parameter.name));
    return values;
}

namespace {

/// The method of a request; nullptr of one that a failing platform has spoilt.
const quorvel::catalogue::Method* method_of(const Sent& request)
{
    const auto* const number = request.empty() ? nullptr : std::get_if<Int32>(&request[0]);
    return number != nullptr ? description().method(number->value) : nullptr;
}

Values answer(const Sent& request, int code)
{
    const auto* const method = method_of(request);
    if (method == nullptr)
        return result(QUORVEL_CLIENT_ERROR_INVALID_PARAMETER);
    Values values{i32(0), sample(method->outs)};
    values.add(method->returns == Kind::flag ? flag(code == 0) : i32(code));
    return values;
}

}  // namespace

Values good_answer(const Sent& request)
{
    return answer(request, QUORVEL_CLIENT_ERROR_NONE);
}

void answer_everything()
{
    agent().on_request([](const Sent& request) -> std::optional<Values> { return good_answer(request); });
}

Values refusal(const Sent& request)
{
    return answer(request, QUORVEL_CLIENT_ERROR_PERMISSION_DENIED);
}

void refuse_everything()
{
    agent().on_request([](const Sent& request) -> std::optional<Values> { return refusal(request); });
}

std::optional<SentDelegate> delegate_of(const Sent& request)
{
    const auto* const method = method_of(request);
    const std::size_t size = request.size();
    if (method == nullptr || method->ins.empty() || method->ins.back().type.kind != Kind::delegate
        || size <= 3)
        return std::nullopt;
    const auto* const id = std::get_if<Int32>(&request[size - 3]);
    const auto* const seq_id = std::get_if<Int32>(&request[size - 2]);
    const auto* const once = std::get_if<Flag>(&request[size - 1]);
    if (id == nullptr || seq_id == nullptr || once == nullptr)
        return std::nullopt;
    return SentDelegate{id->value, seq_id->value, once->value};
}

std::vector<SentDelegate> sent_delegates()
{
    std::vector<SentDelegate> sent;
    for (const Sent& request : agent().requests()) {
        if (const auto delegate = delegate_of(request))
            sent.push_back(*delegate);
    }
    return sent;
}

void fire(const SentDelegate& delegate)
{
    agent().fire(delegate.id, delegate.seq_id, delegate.once,
                 sample(description().delegate(delegate.id)->parameters));
}

}  // namespace torture
