#pragma once
// The exit statuses of the program.

enum ExitStatus : int {
    EXIT_DONE = 0,
    EXIT_ENGINE_ERROR = 1,  ///< the engine reported an error
    EXIT_WRONG_USAGE = 2,
    EXIT_DOUBT = 3,     ///< asked to be strict: there are warnings, or a balance is red
    EXIT_SIGNAL = 128,  ///< plus the number of the signal that stopped a run
    EXIT_PIPE = 141,    ///< standard output is a pipe whose reader has gone: what SIGPIPE gives where it isn't ignored
};
