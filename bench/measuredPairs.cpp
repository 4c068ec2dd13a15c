#include "pair.h"
#include "support/realGrids.h"

namespace bench
{

bool haveMeasuredPairs()
{
    return haveRealGrids();
}

Pair headNeckPair()
{
    return {"head-neck", readRealGrid("head_neck_day1.nrrd"), readRealGrid("head_neck_day2.nrrd")};
}

Pair protonPair()
{
    return {"proton beam1 / beam2", readRealGrid("proton_ramp_beam1.dcm"),
            readRealGrid("proton_ramp_beam2.dcm")};
}

} // namespace bench
