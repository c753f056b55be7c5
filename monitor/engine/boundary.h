#pragma once

#include <cxxabi.h>
#include <pthread.h>

#include <atomic>
#include <exception>
#include <new>

namespace monitoring {

/// What becomes of an exception that should never have been thrown.
enum class DefectPolicy {
  kEndProcess,     ///< A message on standard error, and `abort`: the defect is found where it is made.
  kLogAndSurvive,  ///< One line at error level: the host has more to do than to monitor.
};

/// Debug builds, which those with sanitizers are, end; a release goes on.
#ifdef NDEBUG
inline constexpr DefectPolicy kDefectPolicy = DefectPolicy::kLogAndSurvive;
#else
inline constexpr DefectPolicy kDefectPolicy = DefectPolicy::kEndProcess;
#endif

/// Reports the exception that is being handled: `place`, its type, and its text. Does not return under `kEndProcess`.
///
/// `is_reported` belongs to the place: under `kLogAndSurvive` a place logs its first exception only, for a defect in a
/// pass would come back every minute.
void ReportDefect(const char* place, const char* text, DefectPolicy policy, std::atomic<bool>& is_reported);

/// Runs `step` where the host calls in, so that no exception leaves the library.
///
/// The library itself throws nothing. What may come is the exhausted heap, which must not end the host's process:
/// `step` then ends early, without a word, for a log line would want memory, too. Any other exception is a defect, of
/// ours or of a host that breaks the contract, and goes to `ReportDefect`.
///
/// A cancelled thread unwinds through here. So this is not `noexcept`, nor is what calls it: the C library ends a
/// process that stops such an unwinding. Nor is there an object behind the reference that catches it, which the check
/// of UndefinedBehaviorSanitizer for null references is not to take for a fault.
template <typename Step>
__attribute__((no_sanitize("null"))) void WithinBoundary(const char* place, Step step, DefectPolicy policy,
                                                         std::atomic<bool>& is_reported) {
  try {
    step();
  } catch (const std::bad_alloc&) {  // NOLINT(bugprone-empty-catch): see above
  } catch (const abi::__forced_unwind&) {
    throw;
  } catch (const std::exception& exception) {
    ReportDefect(place, exception.what(), policy, is_reported);
  } catch (...) {
    ReportDefect(place, "not a std::exception", policy, is_reported);
  }
}

/// The same with the policy of the build. A place is a call of this in the source.
template <typename Step>
void WithinBoundary(const char* place, Step step) {
  static std::atomic<bool> is_reported{false};  // one for each type of `step`: each lambda has a type of its own
  WithinBoundary(place, step, kDefectPolicy, is_reported);
}

/// Has the cancellation of this thread wait as long as it lives: for destructors that call the host, because an
/// unwinding cannot leave them.
class CancellationDeferral {
 public:
  CancellationDeferral() { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &state_); }
  ~CancellationDeferral() { pthread_setcancelstate(state_, nullptr); }
  CancellationDeferral(const CancellationDeferral&) = delete;
  CancellationDeferral& operator=(const CancellationDeferral&) = delete;

 private:
  int state_ = PTHREAD_CANCEL_ENABLE;
};

}  // namespace monitoring
