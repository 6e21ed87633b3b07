/* The smallest application: says which library it found. */
#include <stdio.h>
#include <tov.h>

int main(void) {
    const TovLibVersion* version = tovGetLibVersion();
    printf("%s %s\n", version->name, version->version);
    return version->major == 2 ? 0 : 1;
}
