#pragma once

/// The version of the contract: of these headers and of the plug-in's entry points.
///
/// It grows with every change after which a host and a plug-in that were compiled before and behind it cannot work
/// together. The plug-in carries it as an ELF note, for which a host can look before it calls anything
/// (`readelf --notes libmonitor.so` shows it): owner "vexora", type 1, and as its content the version, an unsigned
/// number of 32 bits in the machine's order of octets.
#define VEXORA_CONTRACT_VERSION 1

/// The owner of that note. Source: elf(5), "Notes".
#define VEXORA_CONTRACT_NOTE_OWNER "vexora"

/// Its type, of which the owner has the say.
#define VEXORA_CONTRACT_NOTE_TYPE 1
