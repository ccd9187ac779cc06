// Host door: what a program that is the machine's host, not a guest of it, may do to the host clock.
#pragma once

// From now on the host clock (mach_absolute_time, mach_wait_until, dispatch instants) runs `fFactor` times as fast as
// the machine's, from where it stands: it neither jumps nor runs backwards. This process only. A factor that is not
// finite and above 0 is refused with false. Any thread.
bool HostClockSetSpeed(double fFactor);
