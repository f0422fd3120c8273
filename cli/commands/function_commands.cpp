// The commands that are one public function each: rows, and the body that they share.
#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <set>

#include "commands/run.hpp"

namespace quorvel::cli {
namespace {

// A command over a function.
//
// functions: the function; for a watch, what sets and what unsets it, as many pairs as there are.
// arguments: by parameter name, in the order in which the user gives them: `name` a word, `name?` a word that
//     may be missing, `name=value` fixed, `name:value` an option and what holds without it. What is not named
//     goes by the table of options below, or is a word.
// columns: what the table shows when --fields was not given.
struct Verb {
    std::string_view path;
    std::string_view functions;
    std::string_view help;
    std::string_view arguments = {};
    std::string_view columns = {};
};

constexpr Verb verbs[] = {
    {"ui-metadata get", "quorvel_client_get_ui_metadata", "Show the UI metadata of a device model"},
    {"ui-metadata watch",
     "quorvel_client_set_ui_metadata_updated_cb quorvel_client_unset_ui_metadata_updated_cb",
     "Watch the UI metadata of device models"},
    {"account token", "quorvel_client_get_access_token", "Print the access token (a secret)"},
    {"account refresh", "quorvel_client_refresh_device_information", "Let the agent gather its devices anew"},
    {"account watch",
     "quorvel_client_set_sign_in_state_changed_cb quorvel_client_unset_sign_in_state_changed_cb",
     "Watch the account sign in and out"},
    {"state get", "quorvel_client_get_state", "Print the number of the agent's state"},

    {"device show", "quorvel_client_get_device_detail", "Show a device"},
    {"device nick", "quorvel_client_change_device_nick", "Give a device a nickname"},
    {"device move", "quorvel_client_move_devices", "Move devices into a group", "group_id device_ids"},
    {"device remove", "quorvel_client_remove_device", "Remove a device from the account"},
    {"accessory list", "quorvel_client_get_accessory_list", "List the accessories"},

    {"group list", "quorvel_client_get_group_list", "List groups or subgroups", "group_type?",
     "group_id group_name group_nick group_type parent_id group_owner"},
    {"group show", "quorvel_client_get_group", "Show a group"},
    {"group add", "quorvel_client_add_group", "Add a group", "group_name"},
    {"group update", "quorvel_client_update_group", "Change a group", "group_id"},
    {"group remove", "quorvel_client_remove_group", "Remove a group", "group_id"},
    {"group watch", "quorvel_client_set_group_list_updated_cb quorvel_client_unset_group_list_updated_cb",
     "Watch the groups"},

    {"scene list", "quorvel_client_get_scene_list", "List scenes"},
    {"scene show", "quorvel_client_get_scene", "Show a scene"},
    {"scene add", "quorvel_client_add_scene", "Add a scene to a group"},
    {"scene update", "quorvel_client_update_scene", "Change a scene"},
    {"scene remove", "quorvel_client_remove_scene", "Remove a scene"},
    {"scene run", "quorvel_client_do_scene", "Run a scene"},
    {"scene watch", "quorvel_client_set_scene_list_updated_cb quorvel_client_unset_scene_list_updated_cb",
     "Watch the scenes"},

    {"launch list", "quorvel_client_get_all_app_launch_conditions",
     "List this application's launch conditions"},
    {"launch add", "quorvel_client_add_app_launch_condition", "Add a launch condition"},
    {"launch remove", "quorvel_client_remove_app_launch_condition", "Remove a launch condition"},
    {"launch check", "quorvel_client_is_app_launch_condition_added",
     "Tell whether a launch condition is there"},
    {"notify watch", "quorvel_client_set_notification_cb quorvel_client_unset_notification_cb",
     "Watch notifications"},
    {"cloud-state watch",
     "quorvel_client_start_monitoring_cloud_device_state quorvel_client_stop_monitoring_cloud_device_state",
     "Watch whether a device is connected to the cloud"},

    {"resource get", "quorvel_client_get_remote_representation", "Read a resource of a device"},
    {"resource set", "quorvel_client_set_remote_representation", "Write a resource of a device"},
    {"resource attrs get", "quorvel_client_get_remote_attributes", "Read the attributes of a resource"},
    {"resource attrs set", "quorvel_client_set_remote_attributes", "Write the attributes of a resource"},
    {"resource uris", "quorvel_client_get_resource_uris", "List the resources of a type"},
    {"resource types", "quorvel_client_get_resource_types_by_resource_uri", "List the types of a resource"},
    {"resource watch", "quorvel_client_subscribe quorvel_client_unsubscribe", "Watch resources of a device"},
    {"file get", "quorvel_client_get_files", "Get files of a device"},
    {"signup show", "quorvel_client_get_self_sign_up_info", "Show the self sign-up information of a group"},

    {"push register", "quorvel_client_set_third_party_notification",
     "Register for third-party notifications"},
    {"push status get", "quorvel_client_get_third_party_notification_status",
     "Show the status of third-party notifications"},
    {"push status set", "quorvel_client_set_third_party_notification_status",
     "Turn third-party notifications on or off"},
    {"push status watch",
     "quorvel_client_set_third_party_notification_status_updated_cb "
     "quorvel_client_unset_third_party_notification_status_updated_cb",
     "Watch the status of third-party notifications"},
    {"service migrate", "quorvel_client_activate_vxr_migration", "Activate the account service's migration"},
    {"service token", "quorvel_client_get_vxr_device_token", "Print this device's token (a secret)"},
    {"service peer-token", "quorvel_client_get_vxr_device_peer_token",
     "Print the token for another device (a secret)"},

    {"setup init", "quorvel_client_easy_setup_initialize", "Begin an onboarding session", "setup_type?"},
    {"setup start", "quorvel_client_easy_setup_start", "Start onboarding and stream its questions",
     "host_address"},
    {"setup start-v2", "quorvel_client_easy_setup_start_v2",
     "Start onboarding and stream its questions and provisioning information", "host_address"},
    {"setup stop", "quorvel_client_easy_setup_stop", "Stop onboarding"},
    {"setup watch",
     "quorvel_client_set_easy_setup_state_cb quorvel_client_unset_easy_setup_state_cb "
     "quorvel_client_set_easy_setup_enrollee_error_cb quorvel_client_unset_easy_setup_enrollee_error_cb",
     "Watch the state and the errors of onboarding"},
    {"setup otm", "quorvel_client_easy_setup_set_supported_otm_feature",
     "Choose the way of taking ownership"},
    {"setup pin", "quorvel_client_easy_setup_set_random_pin", "Answer the PIN"},
    {"setup aps", "quorvel_client_easy_setup_get_access_point_list",
     "List the access points that the device sees"},
    {"setup provision", "quorvel_client_easy_setup_device_provisioning", "Send the device its settings"},
    {"setup conf", "quorvel_client_easy_setup_get_device_conf", "Show the device's configuration"},
    {"setup cloud", "quorvel_client_easy_setup_cloud_provisioning", "Send the device the cloud's settings"},
    {"setup sign-in", "quorvel_client_easy_setup_monitoring_enrollee_sign_in", "Watch the device sign in"},
    {"setup bookmark", "quorvel_client_easy_setup_set_bookmark_location", "Choose where the device goes"},
    {"setup reset", "quorvel_client_easy_setup_send_reset_provisioning_info",
     "Reset the device's provisioning information"},
    {"setup last-error", "quorvel_client_easy_setup_get_last_error_code",
     "Print the last error of onboarding"},

    {"internal env get", "quorvel_client_internal_get_server_env", "Show the servers that are used"},
    {"internal env set", "quorvel_client_internal_set_server_env", "Choose the servers that are used"},
    {"internal suspend", "quorvel_client_internal_set_suspend_mode", "Suspend the agent: on or off"},
    {"udo upload-url", "quorvel_client_get_udo_upload_url", "Get the URLs for an upload"},
    {"udo download-url", "quorvel_client_get_udo_download_url", "Get the URL for a download"},

    {"core location list", "quorvel_core_get_location_list", "List locations", "",
     "location_id name country_code time_zone_id locale"},
    {"core location show", "quorvel_core_get_location", "Show a location", "location_id?"},
    {"core location json", "quorvel_core_get_location_json", "Show a location as the agent tells it",
     "location_id?"},
    {"core location create", "quorvel_core_create_location", "Create a location", "name country_code"},
    {"core location update", "quorvel_core_update_location", "Change a location", "location_id name"},
    {"core location remove", "quorvel_core_delete_location", "Remove a location", "location_id"},
    {"core location users", "quorvel_core_get_location_users", "List the users of a location",
     "location_id?"},
    {"core location all-users", "quorvel_core_get_all_location_users", "List the users of all locations"},

    {"core room list", "quorvel_core_get_room_list", "List the rooms of a location"},
    {"core room show", "quorvel_core_get_room", "Show a room"},
    {"core room json", "quorvel_core_get_room_json", "Show a room as the agent tells it"},
    {"core room create", "quorvel_core_create_room", "Create a room"},
    {"core room rename", "quorvel_core_change_room_name", "Rename a room"},
    {"core room remove", "quorvel_core_delete_room", "Remove a room"},

    {"core device list", "quorvel_core_get_device_list", "List devices", "",
     "device_id name label room_id location_id type health_state"},
    {"core device list-json", "quorvel_core_get_device_list_json", "List devices as the agent tells it"},
    {"core device show", "quorvel_core_get_device", "Show a device"},
    {"core device json", "quorvel_core_get_device_json", "Show a device as the agent tells it"},
    {"core device status", "quorvel_core_get_device_status", "Show the state of a device"},
    {"core device component-status", "quorvel_core_get_device_component_status",
     "Show the state of a component of a device"},
    {"core device capability-status", "quorvel_core_get_device_capability_status",
     "Show the state of a capability of a component"},
    {"core device health", "quorvel_core_get_device_health_data", "Show whether a device can be reached"},
    {"core device health-json", "quorvel_core_get_device_health_data_json",
     "Show a device's health as the agent tells it"},
    {"core device exec", "quorvel_core_execute_device", "Let a device run commands"},
    {"core device prefs get", "quorvel_core_get_device_preferences", "Show a preference of a device"},
    {"core device prefs set", "quorvel_core_update_device_preferences", "Change a preference of a device"},
    {"core device presentation", "quorvel_core_get_device_presentation",
     "Show how a device is to be presented", "device_id presentation_id"},
    {"core device rename", "quorvel_core_change_device_name", "Rename a device"},
    {"core device move", "quorvel_core_move_device", "Move a device to a room", "device_id room_id"},
    {"core device components", "quorvel_core_update_device_components", "Change the components of a device"},
    {"core device remove", "quorvel_core_delete_device", "Remove a device"},
    {"core device hub-ids", "quorvel_core_get_hub_device_id_list", "List the devices of a hub"},
    {"core device ir create", "quorvel_core_create_ir_device", "Create an infrared device"},
    {"core device ir get", "quorvel_core_get_ir_device", "Show an infrared device"},
    {"core device stats", "quorvel_core_get_home_insight_device_statistics",
     "Show statistics of a location's devices"},
    {"core device migrate-mqtt", "quorvel_core_migrate_local_mqtt_device", "Migrate a local device to a hub"},

    {"core group list", "quorvel_core_get_device_group_list", "List device groups"},
    {"core group show", "quorvel_core_get_device_group", "Show a device group"},
    {"core group create", "quorvel_core_create_device_group", "Create a device group",
     "name devices_json room_id type?"},
    {"core group update", "quorvel_core_update_device_group", "Change a device group"},
    {"core group remove", "quorvel_core_delete_device_group", "Remove a device group"},
    {"core group exec", "quorvel_core_execute_device_group", "Let a device group run commands"},
    {"core group status", "quorvel_core_get_device_group_devices_status",
     "Show the states of a group's devices"},

    {"core favorite list", "quorvel_core_get_favorite_list", "List favorites", "",
     "favorite_id member_type member_id bucket sort_order"},
    {"core favorite show", "quorvel_core_get_favorite", "Show a favorite"},
    {"core favorite add", "quorvel_core_create_favorite", "Add a favorite"},
    {"core favorite replace", "quorvel_core_replace_favorites", "Replace all favorites"},
    {"core favorite remove", "quorvel_core_delete_favorite", "Remove a favorite"},
    {"core favorite clear", "quorvel_core_delete_favorites", "Remove all favorites"},
    {"core favorite migration get", "quorvel_core_get_favorite_migration_status",
     "Show whether the favorites were migrated"},
    {"core favorite migration set", "quorvel_core_update_favorite_migration_status",
     "Say that the favorites were migrated"},

    {"core rule list", "quorvel_core_get_rule_list", "List rules", "",
     "rule_id rule_json.name rule_json.enabled rule_json.lastExecuted"},
    {"core rule show", "quorvel_core_get_rule", "Show a rule"},
    {"core rule create", "quorvel_core_create_rule", "Create a rule"},
    {"core rule update", "quorvel_core_update_rule", "Change a rule"},
    {"core rule remove", "quorvel_core_delete_rule", "Remove a rule"},
    {"core rule run", "quorvel_core_execute_rule", "Run a rule now"},
    {"core rule enable", "quorvel_core_update_rule_status", "Enable a rule", "rule_id enabled=true"},
    {"core rule disable", "quorvel_core_update_rule_status", "Disable a rule", "rule_id enabled=false"},

    {"core scene list", "quorvel_core_get_scene_list", "List scenes", "",
     "scene_id scene_json.name scene_json.lastExecuted"},
    {"core scene show", "quorvel_core_get_scene", "Show a scene"},
    {"core scene create", "quorvel_core_create_scene", "Create a scene"},
    {"core scene update", "quorvel_core_update_scene", "Change a scene"},
    {"core scene remove", "quorvel_core_delete_scene", "Remove a scene"},
    {"core scene run", "quorvel_core_execute_scene", "Run a scene"},
    {"core scene try", "quorvel_core_execute_adhoc_scene", "Run a scene without keeping it"},

    {"core app list", "quorvel_core_get_installed_app_list", "List installed apps", "",
     "installed_app_id display_name type status location_id"},
    {"core app show", "quorvel_core_get_installed_app", "Show an installed app"},
    {"core app dashboard", "quorvel_core_get_installed_app_dashboard_json", "Show the dashboard of an app"},
    {"core app exec", "quorvel_core_execute_installed_app", "Let an app run"},
    {"core app install begin", "quorvel_core_oxbarrow_initialize", "Begin to install an app", "app_id"},
    {"core app install cancel", "quorvel_core_oxbarrow_cancel_installation", "Cancel an installation"},
    {"core app install complete", "quorvel_core_oxbarrow_complete_installation", "Complete an installation"},

    {"core history activity", "quorvel_core_get_activity_history", "Show what happened", "filter:limit=50"},
    {"core history notifications", "quorvel_core_get_notification_history",
     "Show the notifications that came", "filter:limit=50"},
    {"core hub json", "quorvel_core_get_hub_json", "Show a hub as the agent tells it"},
    {"core hub discover start", "quorvel_core_start_hub_device_discover", "Let a hub look for devices",
     "hub_id"},
    {"core hub discover stop", "quorvel_core_stop_hub_device_discover", "Let a hub stop looking for devices"},
    {"core broker-url", "quorvel_core_get_mqtt_broker_url", "Print the URL of a hub's message broker",
     "hub_id"},
    {"core active-user", "quorvel_core_send_active_user_event", "Tell what the user is doing"},
};

// Parameters that are options, wherever they come; the value is what holds when the option is not given.
struct Optional {
    std::string_view parameter;
    std::string_view option;
    std::string_view standard;
};
constexpr Optional optionals[] = {
    {"location_id", "--location", ""},
    {"extra", "--extra", ""},
    {"extra1", "--extra1", ""},
    {"extra2", "--extra2", ""},
    {"filter", "--filter", ""},
    {"visibility", "--visibility", ""},
    {"locale", "--locale", "en_US"},
    {"options", "--options", ""},
    {"detailed", "--detailed", "false"},
    {"flag", "--flag", "false"},
    {"secure", "--secure", "false"},
    {"latitude", "--latitude", ""},
    {"longitude", "--longitude", ""},
    {"region_radius", "--radius", ""},
    {"temperature_scale", "--scale", ""},
    {"parent_type", "--parent-type", ""},
    {"parent_id", "--parent", ""},
    {"first", "--first", ""},
    {"second", "--second", ""},
    {"third", "--third", ""},
    {"fourth", "--fourth", ""},
    {"fifth", "--fifth", ""},
    {"sixth", "--sixth", ""},
    {"duration", "--duration", "0"},
    {"allow_join", "--join", "true"},
    {"include_known", "--known", "false"},
    {"protocol", "--protocol", "0"},
    {"details", "--details", ""},
};

// Words that may be missing, and what holds then.
constexpr Optional standards[] = {{"group_type", "", "group"},
                                  {"setup_type", "", "0"},

                                  {"type", "", "generic"}};

std::string word_of(const Parameter& parameter)
{
    if (parameter.kind == Kind::record || parameter.name.ends_with("_json"))
        return "JSON";
    std::string word(parameter.name);
    if (word.ends_with("_ids"))
        word.resize(word.size() - 4);
    else if (word.ends_with("_id"))
        word.resize(word.size() - 3);
    std::ranges::transform(word, word.begin(), [](unsigned char c) { return std::toupper(c); });
    return word;
}

const Optional* optional_of(const Function& function, std::string_view parameter)
{
    // The strings of the URLs are all needed.
    if (function.name.find("_udo_") != std::string_view::npos)
        return nullptr;
    const auto* found = std::ranges::find(optionals, parameter, &Optional::parameter);
    return found == std::end(optionals) ? nullptr : found;
}

// How the user gives a function's arguments.
struct Plan {
    std::vector<Argument> arguments;
    Arguments fixed;
    Arguments standards;  // for options that are not given
};

Plan plan_of(const Function& function, std::string_view order)
{
    Plan plan;
    std::set<std::string, std::less<>> done;
    const auto add = [&](const Parameter& parameter, bool as_word, bool required) {
        const std::string name(parameter.name);
        std::string help(parameter.help);
        if (parameter.enumeration != nullptr) {
            std::vector<std::string_view> names;
            for (const Enumerator& one : parameter.enumeration->values)
                names.push_back(one.name);
            help = fmt::format("one of {}", fmt::join(names, ", "));
        }
        Argument argument{name, word_of(parameter), help};
        argument.required = required;
        argument.many = parameter.kind == Kind::texts;
        argument.from_file = argument.word == "JSON" || name == "value" || name == "scene";
        if (const Optional* optional = as_word ? nullptr : optional_of(function, name)) {
            argument.form = Argument::Form::option;
            argument.word = optional->option;
            argument.required = false;
        }
        plan.arguments.push_back(std::move(argument));
        done.insert(name);
    };
    for (std::string token : words_of(order)) {
        if (const std::size_t colon = token.find(':'); colon != std::string::npos) {
            plan.standards[token.substr(0, colon)] = token.substr(colon + 1);
            continue;
        }
        if (const std::size_t equals = token.find('='); equals != std::string::npos) {
            plan.fixed[token.substr(0, equals)] = token.substr(equals + 1);
            done.insert(token.substr(0, equals));
            continue;
        }
        const bool required = !token.ends_with('?');
        if (!required)
            token.pop_back();
        add(*std::ranges::find(function.parameters, token, &Parameter::name), true, required);
    }
    for (const Parameter& parameter : function.parameters)
        if (Invocation::takes(parameter) && !done.contains(parameter.name))
            add(parameter, false, true);
    // A word that may be repeated can only be the last.
    std::stable_partition(plan.arguments.begin(), plan.arguments.end(),
                          [](const Argument& argument) { return !argument.many; });
    return plan;
}

// The only location, when the user has one: most have.
std::string the_location(Context& context)
{
    if (const char* set = std::getenv("QVCTL_LOCATION"); set != nullptr && *set != '\0')
        return set;
    const Json locations = ask(context, "quorvel_core_get_location_list");
    if (locations.size() == 1)
        return locations[0].value("location_id", "");
    if (locations.empty())
        throw Failure(no_data, "there is no location", "the account has none",
                      "qvctl core location create NAME COUNTRY");
    std::vector<std::string> ids;
    for (const Json& location : locations)
        ids.push_back(location.value("location_id", ""));
    throw Failure(usage, "which location?", fmt::format("the account has {}", fmt::join(ids, ", ")),
                  fmt::format("--location {}, or QVCTL_LOCATION={}", ids[0], ids[0]));
}

Arguments arguments_of(Context& context, const Function& function, const Plan& plan, bool shown_only)
{
    Arguments arguments = plan.fixed;
    for (const Argument& argument : plan.arguments) {
        const auto& name = argument.name;
        const auto parameter = std::ranges::find(function.parameters, name, &Parameter::name);
        if (argument.many) {
            arguments[name] = context.texts(name);
        } else if (context.has(name)) {
            const std::string text =
                argument.from_file ? file_or_text(context.text(name)) : context.text(name);
            if (parameter->kind != Kind::record) {
                arguments[name] = text;
                continue;
            }
            arguments[name] = Json::parse(text, nullptr, false);
            if (arguments[name].is_discarded())
                throw Failure(usage, "this is not JSON", fmt::format("argument {}: {}", argument.word, text),
                              fmt::format("qvctl api show {}", function.name));
        } else if (plan.standards.contains(name)) {
            arguments[name] = plan.standards.at(name);
        } else if (name == "location_id") {
            arguments[name] = shown_only ? "LOCATION" : the_location(context);
        } else {
            for (const auto& table :
                 {std::span<const Optional>(optionals), std::span<const Optional>(standards)})
                for (const Optional& optional : table)
                    if (optional.parameter == name)
                        arguments[name] = optional.standard;
        }
    }
    return arguments;
}

Command command_of(const Verb& verb)
{
    Command command;
    command.path = verb.path;
    command.help = verb.help;
    command.functions = words_of(verb.functions);
    const Function& function = function_named(command.functions[0]);
    Plan plan = plan_of(function, verb.arguments);
    command.arguments = plan.arguments;
    command.watch = Invocation::streams(function);
    command.run = [&verb, &function, plan, names = command.functions,
                   watches = command.watch](Context& context) {
        const bool shown_only = context.globals.dry_run || !context.globals.code.empty();
        const Arguments arguments = arguments_of(context, function, plan, shown_only);
        if (only_shown(context, function.name, arguments))
            return static_cast<int>(ok);
        if (watches) {
            std::vector<Watched> pairs;
            for (std::size_t i = 0; i < names.size(); i += 2)
                pairs.push_back({names[i], i + 1 < names.size() ? names[i + 1] : ""});
            return watch(context, pairs, arguments);
        }
        context.out.show(ask(context, function.name, arguments), words_of(verb.columns));
        return static_cast<int>(ok);
    };
    return command;
}

// Events of a kind, or of a device: two functions behind one command.
Command events_command()
{
    Command command{"core events watch", "Watch what happens in the cloud", {}, {}, {}, true, false};
    command.arguments = {
        {"type", "--type", "what to watch: a number or name of quorvel_core_sse_type_e (all)",
         Argument::Form::option, false},
        {"device", "--device", "only the events of this device", Argument::Form::option, false}};
    command.functions = {"quorvel_core_set_sse_cb", "quorvel_core_unset_sse_cb",
                         "quorvel_core_set_sse_cb_by_device_id", "quorvel_core_unset_sse_cb_by_device_id"};
    command.run = [names = command.functions](Context& context) {
        const bool one = context.has("device");
        Arguments arguments;
        if (one)
            arguments["device_id"] = context.text("device");
        else
            arguments["sse_type"] = context.text("type", "all");
        if (only_shown(context, names[one ? 2 : 0], arguments))
            return static_cast<int>(ok);
        return watch(context, {{names[one ? 2 : 0], names[one ? 3 : 1]}}, arguments);
    };
    return command;
}

}  // namespace

std::vector<Command> function_commands()
{
    std::vector<Command> list;
    for (const Verb& verb : verbs)
        list.push_back(command_of(verb));
    list.push_back(events_command());
    return list;
}

}  // namespace quorvel::cli
