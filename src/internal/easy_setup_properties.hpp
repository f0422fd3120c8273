#pragma once

#include "internal/bundle_properties.hpp"

/// The properties of the records of the easy setup: by their number, the key that the agent keeps each under.
namespace quorvel::easy_setup {

using enum PropertyKind;

/// What three kinds of records are called when there is none to release, which is meant so.
inline constexpr auto missing_condition = "quorvel_client condition is NULL";

inline constexpr BundleProperty access_point_table[] = {
    {"ssid", text},    {"macAddr", text}, {"channel", text}, {"encType", text},
    {"secType", text}, {"maxRate", text}, {"rssi", text},    {"freq", text},
};
inline constexpr BundleFamily<rpc_port_access_point_s_h> access_points{
    {access_point_table,
     {1, 4},
     QC_TEXT("invalid property id [%d]"),
     QC_TEXT("get access_point_property_id_e[%d] failed")},
    "ap_h is NULL"};

inline constexpr BundleProperty device_table[] = {
    {"language", text},
    {"country", text},
    {"location", text},
    {"discoveryChannel", text},
    {"ZOAccount", text},
    {"UTCDateTime", text},
    {"regionalDateTime", text},
    {"registerMobileDevice", text},
    {"bssid", text},
    {"ssid", text},
    {"password", text},
    {"wifiAuthType", text},
    {"wifiEncType", text},
    {"qclocations", text_list, QC_TEXT("get locations failed")},
};
inline constexpr BundleFamily<rpc_port_device_prop_s_h> device{
    {device_table,
     {1, 4},
     QC_TEXT("invalid property id [%d]"),
     QC_TEXT("get easy_setup_device_property_id_e[%d] failed")},
    missing_condition};

inline constexpr BundleProperty cloud_table[] = {
    {"ciHostAddress", text},
    {"TCResult", text},
};
inline constexpr BundleFamily<rpc_port_cloud_prop_s_h> cloud{
    {cloud_table, {1, 4}, QC_TEXT("invalid property id [%d]"), nullptr}, missing_condition};
// Only the first one can be read, and when it is absent the line tells of a language; both are meant so.
inline constexpr BundleFamily<rpc_port_cloud_prop_s_h> readable_cloud{{std::span{cloud_table}.first(1),
                                                                       {1, 4},
                                                                       QC_TEXT("invalid property id [%d]"),
                                                                       QC_TEXT("get language failed")}};

inline constexpr BundleProperty device_conf_table[] = {
    {"isCloudAccessible", truth, QC_TEXT("get isCloudAccessible failed")},
    {"freq", number},
    {"provStatus", number},
    {"lastErrorCode", number},
    {"netConnectionState", number},
    {"deviceName", text},
    {"modelNumber", text},
    {"deviceType", text},
    {"deviceSubType", text},
    {"registerSetDevice", text},
    {"pnpPin", text},
    {"bssid", text},
    {"networkProvisioningInfo", text},
    {"esProtocolVersion", text},
    {"country", text},
    {"hubId", text},
    {"tcStatus", number},  // among the texts, which is meant so
    {"tcHeader", text},
    {"tcVersion", text},
    {"wifiModes", number_list, QC_TEXT("get wifiModes failed")},
};
inline constexpr BundleFamily<rpc_port_device_conf_s_h> device_conf{
    {device_conf_table,
     {1, 4},
     QC_TEXT("invalid config id [%d]"),
     QC_TEXT("get device_conf_info_id_e[%d] failed")},
    missing_condition};

inline constexpr BundleProperty prov_info_table[] = {
    {"owned", truth},
    {"provisioningReset", truth},
    {"otmSupport", number},
    {"accessibility", number},
    {"supportedTokenType", number},
    {"softApAddress", text},
    {"bleAddress", text},
    {"easysetupId", text},
    {"easysetupVer", text},
    {"setupId", text},
    {"targetSerialNum", text},
    {"firmwareVer", text},
    {"sessionId", text},
    {"lastStatus", text},
    {"nonce", text},
    {"countryCode", text},
    {"targetLogId", text},
    {"mnmn", text},
    {"vid", text},
    {"protocolList", text_list, QC_TEXT("get protocolList failed")},
};
inline constexpr BundleFamily<rpc_port_easy_setup_prov_info_s_h> prov_info{
    {prov_info_table, {2, 3}, QC_TEXT("invalid id [%d]"), QC_TEXT("get enum[%d] failed")}};

}  // namespace quorvel::easy_setup
