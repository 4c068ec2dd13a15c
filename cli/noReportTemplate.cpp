#include "reportPage.h"

std::string_view cli::reportTemplate()
{
    return {};
}
