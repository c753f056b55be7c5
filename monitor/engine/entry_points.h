#pragma once

#include <map>
#include <string>

// The exported functions of libmonitor.so: everything that a host looks up in it. The host calls the plug-in.
//
// `RegisterMonitors` and `stop_monitor` carry plain names, the others C++ names with their parameter types. Report
// texts are JSON, made with the host's `Strdup`; the caller frees them. Nothing is ever thrown.
//
// A report may wait for a pass, which calls the platform meanwhile: whoever asks for one holds no lock that a platform
// call takes.

#define VEXORA_EXPORT __attribute__((visibility("default")))

/// Creates the monitors, registers them with the subscription service and starts the engine, whose first pass runs a
/// minute later.
///
/// Threads: once, from the host's start-up path, when every service of the contract is ready to be called.
/// Fails:   returns 1, and 0 when memory ran out before the engine was started: the host may call it again. A task
///          service that refuses the engine's task is logged, and no pass will run.
extern "C" VEXORA_EXPORT int RegisterMonitors();

/// Stops the engine and releases the monitors. Returns when the engine's task is over: after at most one sleep and
/// one pass, at once with a host that interrupts the sleep.
///
/// Threads: once, from the host's shutdown path, not from the engine's thread. Report calls may still be under way.
/// Fails:   never; it needs no memory.
extern "C" VEXORA_EXPORT void stop_monitor();

/// The days and weeks for which a wireless client report can be had. The argument is ignored.
///
/// Owner: the caller frees the text. Threads: any. Fails: "{}" before `RegisterMonitors` and after `stop_monitor`.
VEXORA_EXPORT char* get_wireless_client_report_avail_list(char const* request);

/// The wireless client report that `request` asks for: `{"report_type": "daily" or "weekly", "period": KEY}`.
///
/// Owner:   the caller frees the text; `request` stays the caller's and may be null.
/// Threads: any.
/// Fails:   a request that does not parse asks with both texts empty; "{}" when there is no such monitor.
VEXORA_EXPORT char* get_wireless_client_report(char const* request);

/// The days and weeks for which a wireless network report can be had. Else as `get_wireless_client_report_avail_list`.
VEXORA_EXPORT char* get_wireless_network_report_avail_list(char const* request);

/// The wireless network report that `request` asks for. Else as `get_wireless_client_report`.
VEXORA_EXPORT char* get_wireless_network_report(char const* request);

/// The newest speed of one interface, as measured by the latest pass: sets `out["input"]` and `out["output"]`.
///
/// `interface` is the name under which messages show it: the device's own, or band and SSID ("5Ghz - Office").
///
/// Units:   bytes per second.
/// Threads: any, also during a pass.
/// Fails:   leaves `out` as it was when the interface is unknown or the engine does not run.
VEXORA_EXPORT void GetInterfaceTraffic(std::string mac, std::string interface,
                                       std::map<std::string, unsigned long long>& out);
