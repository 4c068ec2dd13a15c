#include "cli/output/reportTemplate.h"

std::string_view zarngi::reportTemplate()
{
    return {};
}
