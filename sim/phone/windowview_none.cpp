#include <cstdio>

#include "views.h"

std::unique_ptr<View> makeWindowView(int, const std::string&)
{
    std::fprintf(stderr, "utk-phone: built without SDL2: no window view\n");
    return nullptr;
}
