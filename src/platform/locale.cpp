// The C locale for one thread, for the time of one call into the engine. The process's locale is never touched.
// The functions of the lifecycle set it.

#include "platform/locale.h"

#if defined(_WIN32)

#include <cstring>

NumberLocale::NumberLocale() : oldMode(_configthreadlocale(_ENABLE_PER_THREAD_LOCALE)), oldName{} {
    if (const char* name = setlocale(LC_NUMERIC, nullptr)) {
        std::strncpy(oldName, name, sizeof oldName - 1);
    }
    setlocale(LC_NUMERIC, "C");
}

NumberLocale::~NumberLocale() {
    setlocale(LC_NUMERIC, oldName);
    _configthreadlocale(oldMode);
}

#else

NumberLocale::NumberLocale()
    : plain(newlocale(LC_ALL_MASK, "C", static_cast<locale_t>(nullptr))), old(uselocale(plain)) {}

NumberLocale::~NumberLocale() {
    uselocale(old);
    if (plain) {
        freelocale(plain);
    }
}

#endif
