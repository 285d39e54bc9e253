#pragma once

/** For how long a trial sends that is to last for `seconds` but has room for three pings. Pure. */
int trialMs(double seconds, int packetsPerSecond);

/** For how long nothing must come before the next trial: twice a frame's time, 300 at least. Pure.
 */
int quietMsFor(int sizeBytes, int baudRate);
