#include "../MissingOnLinux.h"
