// The name under which GNUstep looks for it.
#include <Block.h>
