#include "probe/sources/snmp/snmp_library.h"

#include "probe/sources/snmp/net_snmp.h"

#include <clocale>
#include <cstdlib>
#include <string>

namespace probe::snmp {

namespace {

void TurnOff(int feature) {
  netsnmp_ds_set_boolean(NETSNMP_DS_LIBRARY_ID, feature, 1);
}

}  // namespace

SnmpLibrary& SnmpLibrary::Instance() {
  static SnmpLibrary library;
  return library;
}

SnmpLibrary::SnmpLibrary() {
  // Without any handler it would log to standard error.
  netsnmp_register_loghandler(NETSNMP_LOGHANDLER_NONE, LOG_DEBUG);
  TurnOff(NETSNMP_DS_LIB_DONT_READ_CONFIGS);
  TurnOff(NETSNMP_DS_LIB_DONT_PERSIST_STATE);
  TurnOff(NETSNMP_DS_LIB_DISABLE_PERSISTENT_LOAD);
  TurnOff(NETSNMP_DS_LIB_DISABLE_PERSISTENT_SAVE);
  TurnOff(NETSNMP_DS_LIB_DONT_LOAD_HOST_FILES);
  TurnOff(NETSNMP_DS_LIB_ALARM_DONT_USE_SIG);
  // No MIB files: neither those of the folders that are compiled in, nor those that the environment names.
  netsnmp_set_mib_directory("");
  netsnmp_config_remember(const_cast<char*>("mibs :"));
  for (const char* const name : {"MIBS", "MIBFILES"}) {
    if (std::getenv(name) != nullptr) unsetenv(name);
  }
  // It takes over the environment's character set, which is the program's own business.
  const std::string locale = std::setlocale(LC_CTYPE, nullptr);
  init_snmp("vexora-probe");
  std::setlocale(LC_CTYPE, locale.c_str());
}

}  // namespace probe::snmp
