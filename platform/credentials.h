#pragma once

#include <json-c/json.h>

#include <string>

/// The plug-in calls the host.
///
/// Whether the host can log in to a device: an object whose members a monitor shows, as they are, to a client that
/// watches this device. Which members there are is the host's choice.
///
/// Owner:   the caller, who releases it with `json_object_put`. Every call gives a tree of its own.
/// Threads: any, also with the plug-in's locks held (read locks of the traffic and health monitors): it must not call
///          back into the plug-in, nor take a lock that the host holds while it calls the clean-up function.
/// Fails:   null when there is nothing to tell.
json_object* DeviceCredentialResultGet(const std::string& mac);
