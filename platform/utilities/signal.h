#pragma once

namespace kro_utilities::signal {

/// The plug-in calls the host.
///
/// A radio signal level as power: 10^(dbm / 10).
///
/// Units:   dBm in, milliwatts out. Threads: any, also with the plug-in's locks held: plain arithmetic that waits for
///          nobody. Fails: never; -infinity gives 0.
double ConvertdBmTomilliwatts(double dbm);

/// The plug-in calls the host.
///
/// A power as radio signal level: 10 log10(milliwatts).
///
/// Units:   milliwatts in, dBm out. Threads: as its counterpart.
/// Fails:   never; 0 gives -infinity, a negative power not-a-number.
double ConvertmilliwattsTodBm(double milliwatts);

}  // namespace kro_utilities::signal
