#pragma once

/**
 * Makes the records that the engine's slots and signals carry known by name. Call it before the
 * first engine is made; repeated calls do nothing. Any thread.
 */
void registerEngineTypes();
