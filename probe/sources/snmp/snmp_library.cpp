#include "probe/sources/snmp/snmp_library.h"

#include "probe/sources/snmp/net_snmp.h"

namespace probe::snmp {

SnmpLibrary& SnmpLibrary::Instance() {
  static SnmpLibrary library;
  return library;
}

SnmpLibrary::SnmpLibrary() {
  // Without any handler it would log to standard error.
  netsnmp_register_loghandler(NETSNMP_LOGHANDLER_NONE, LOG_DEBUG);
  netsnmp_ds_set_boolean(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_DONT_READ_CONFIGS, 1);
  netsnmp_ds_set_boolean(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_DONT_PERSIST_STATE, 1);
  netsnmp_ds_set_boolean(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_DONT_LOAD_HOST_FILES, 1);
  // Not by init_snmp(), which reads MIB files and the environment, changes the program's locale, and makes a folder for
  // the certificates of transports that nobody uses here, whatever is turned off. These are the parts that sessions
  // and version 3 need, in its order.
  const char* const program = "vexora-probe";
  netsnmp_ds_set_string(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_APPTYPE, program);
  netsnmp_session unused;
  snmp_sess_init(&unused);
  init_snmpv3(program);
  snmp_call_callbacks(SNMP_CALLBACK_LIBRARY, SNMP_CALLBACK_POST_PREMIB_READ_CONFIG, nullptr);
  snmp_call_callbacks(SNMP_CALLBACK_LIBRARY, SNMP_CALLBACK_POST_READ_CONFIG, nullptr);
}

}  // namespace probe::snmp
