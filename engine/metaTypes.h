#pragma once

/**
 * Registers the types used in the engine's slots and signals. Call it before the first engine is
 * created; repeated calls do nothing. Any thread.
 */
void registerEngineTypes();
