// pthread.h - which thread this is.

#pragma once

extern "C" struct _opaque_pthread_t* pthread_self(void);
