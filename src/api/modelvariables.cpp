// Variables: what a host reads and sets by name.

#include "api/modelhandle.h"
