#pragma once

/**
 * How long a trial sends, in milliseconds: `seconds`, or longer if that is needed for three pings.
 * Pure.
 */
int trialMs(double seconds, int packetsPerSecond);

/**
 * How long the line must be quiet before the next trial, in milliseconds: twice a frame's time, at
 * least 300. Pure.
 */
int quietMsFor(int sizeBytes, int baudRate);
