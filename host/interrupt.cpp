// A run that is asked to stop ends after its step, with complete files. All that a handler does is to note the wish.

#include "interrupt.h"

#include <csignal>

static constexpr int HANGUP_SIGNAL = 1;
static constexpr int INTERRUPT_SIGNAL = 2;
static constexpr int PIPE_SIGNAL = 13;
static constexpr int TERMINATE_SIGNAL = 15;

static volatile std::sig_atomic_t noted = 0;

int interrupt_get() {
    return static_cast<int>(noted);
}

const char* interrupt_getName(int number) {
    switch (number) {
        case HANGUP_SIGNAL: return "SIGHUP";
        case INTERRUPT_SIGNAL: return "SIGINT";
        case PIPE_SIGNAL: return "SIGPIPE";
        default: return "SIGTERM";
    }
}

#if defined(_WIN32)

#include <windows.h>

/// Called by the system in a thread of its own. FALSE leaves the process to the system, which ends it.
static BOOL WINAPI note(DWORD event) {
    if (noted != 0) {
        return FALSE;
    }
    const bool isKey = event == CTRL_C_EVENT || event == CTRL_BREAK_EVENT;
    noted = isKey ? INTERRUPT_SIGNAL : TERMINATE_SIGNAL;
    if (!isKey) {
        Sleep(INFINITE);  // with the return the process would end; it has some seconds until then
    }
    return TRUE;
}

void interrupt_install() {
    SetConsoleCtrlHandler(note, TRUE);
}

#else

#include <signal.h>

static void note(int number) {
    if (noted != 0 && number == PIPE_SIGNAL) {
        return;
    }
    if (noted != 0 && noted != PIPE_SIGNAL) {
        signal(number, SIG_DFL);
        raise(number);  // comes once this handler has returned
        return;
    }
    noted = number;
}

static void install(int number) {
    struct sigaction before = {};
    sigaction(number, nullptr, &before);
    if (before.sa_handler == SIG_IGN) {
        return;
    }
    struct sigaction action = {};
    action.sa_handler = note;
    action.sa_flags = SA_RESTART;  // no reading or writing of the engine is cut short
    sigemptyset(&action.sa_mask);
    sigaction(number, &action, nullptr);
}

void interrupt_install() {
    install(HANGUP_SIGNAL);
    install(INTERRUPT_SIGNAL);
    install(PIPE_SIGNAL);
    signal(SIGXFSZ, SIG_IGN);  // the limit of a file's size is told like a full disk
    install(TERMINATE_SIGNAL);
}

#endif
