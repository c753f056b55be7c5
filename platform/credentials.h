#pragma once

#include <json-c/json.h>

#include <string>

/// Whether the host can log in to a device: a JSON object whose members a monitor copies, as they are, into its
/// messages about this device. The plug-in calls the host.
///
/// `mac` is a device id as `DeviceManager` gives it. Which members there are is the host's choice; no password belongs
/// there, for every subscriber sees them.
///
/// Owner:   the caller, who releases it with `json_object_put`. Every call gives a tree of its own.
/// Threads: any, also with the plug-in's locks held (read locks of the traffic and health monitors): it must not call
///          back into the plug-in, nor take a lock that the host holds while it calls the clean-up function.
/// Fails:   null when there is nothing to tell, and for an unknown device; never throws.
json_object* DeviceCredentialResultGet(const std::string& mac);
