// Which sanitizers watch this build.
// One idea: two compilers tell it in two ways; here they say it in one.
#pragma once

#if defined(__SANITIZE_ADDRESS__)
#define VLISP_ADDRESS_SANITIZER 1
#elif defined(__SANITIZE_THREAD__)
#define VLISP_THREAD_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define VLISP_ADDRESS_SANITIZER 1
#elif __has_feature(thread_sanitizer)
#define VLISP_THREAD_SANITIZER 1
#endif
#endif
