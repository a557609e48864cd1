// Smallest client: ask a format-5 manager for the name of type id 11.
#include <kstypemgr.h>

#include <cstdio>

int main() {
    KsTypeMgr mgr(5);
    const char* name = mgr.NameGet(11, nullptr);
    if (name == nullptr)
        return 1;
    std::puts(name);
    return 0;
}
