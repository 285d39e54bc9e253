#pragma once

/**
 * Whether the open descriptor is a terminal that moves its cursor and shows colours when told to by
 * escape sequences: one for which TERM names a kind, and not the kind "dumb".
 */
bool takesEscapes(int descriptor);
