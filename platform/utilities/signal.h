#pragma once

namespace kro_utilities::signal {

/// A radio signal level as power: 10^(dbm / 10). The plug-in calls the host.
///
/// Units:   dBm in, milliwatts out.
/// Threads: any, also with the plug-in's locks held: plain arithmetic that waits for nobody.
/// Fails:   never; -infinity gives 0.
double ConvertdBmTomilliwatts(double dbm);

/// A power as radio signal level: 10 log10(milliwatts). The plug-in calls the host.
///
/// Units:   milliwatts in, dBm out.
/// Threads: any, also with the plug-in's locks held: plain arithmetic that waits for nobody.
/// Fails:   never; 0 gives -infinity, a negative power not-a-number.
double ConvertmilliwattsTodBm(double milliwatts);

}  // namespace kro_utilities::signal
