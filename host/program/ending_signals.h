// ending_signals.h - SIGHUP, SIGINT and SIGTERM end the program as usual, but first remove the files that are not
// complete. What SIGKILL leaves is taken over by the next writer of the same file.

#pragma once

// Lets the signals call a function that a signal handler may call. Null changes nothing; a signal that was ignored, as
// by nohup, stays ignored.
void RemoveAtSignals(void (*remove)());

// Sets the folder that the signals remove if it is empty then; null for none. The text must live until that is changed.
void RemoveFolderAtSignals(const char* folder);
