#include "eachPath.h"

void onEachPath(const std::function<void()>& work)
{
    work(); // on the path that the library has chosen
}
