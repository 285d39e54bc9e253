#pragma once

/**
 * Chooses the locale C.UTF-8 when the environment names none, only "C", or one that this system
 * does not have. Qt works in UTF-8 anyway, and would complain of each of these on standard error. A
 * locale with another encoding stays, so that Qt says what it does instead.
 *
 * Changes the environment: call it before the application object is made or a thread is started.
 */
void useUtf8();
