#include "monitor/engine/boundary.h"

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <typeinfo>

#include "platform/logging.h"

namespace monitoring {

void ReportDefect(const char* place, const char* text, DefectPolicy policy, std::atomic<bool>& is_reported) {
  if (policy == DefectPolicy::kLogAndSurvive && is_reported.exchange(true)) return;
  // The ABI knows the type of whatever is thrown. Null stands for an exception of another language.
  const std::type_info* type = abi::__cxa_current_exception_type();
  const char* mangled = type == nullptr ? "of another language" : type->name();
  int status = 0;
  // Null when the heap is exhausted, and for "of another language", which is no mangled name.
  const std::unique_ptr<char, decltype(&std::free)> demangled(abi::__cxa_demangle(mangled, nullptr, nullptr, &status),
                                                              &std::free);
  const char* name = demangled == nullptr ? mangled : demangled.get();
  if (policy == DefectPolicy::kLogAndSurvive) {
    pel_log_error(log_module::kManager, "[%s] Unexpected exception %s: %s", place, name, text);
    return;
  }
  // Not the host's log: its lines may still be waiting to be written when the process ends.
  static_cast<void>(std::fprintf(stderr, "[%s] Unexpected exception %s: %s\n", place, name, text));
  std::abort();
}

}  // namespace monitoring
