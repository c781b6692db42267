// pthread.h - the identity of the current thread.

#pragma once

extern "C" struct _opaque_pthread_t* pthread_self(void);
