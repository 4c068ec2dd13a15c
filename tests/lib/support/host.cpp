#include "host.h"

void setCriteria(float DTA, float DD, float DCO)
{
    ASSERT_EQ(zarnGI_setDTA(DTA), ZARNGI_OK);
    ASSERT_EQ(zarnGI_setDD(DD), ZARNGI_OK);
    ASSERT_EQ(zarnGI_setDCO(DCO), ZARNGI_OK);
}

Results compute()
{
    Results results;
    EXPECT_EQ(zarnGI_startComputation(), ZARNGI_OK);
    results.gamma.resize(Env->N_ref);
    EXPECT_EQ(zarnGI_getGammaIndex3DMap(results.gamma.data()), ZARNGI_OK);
    EXPECT_EQ(zarnGI_getGammaIndexPassRate(&results.passRate), ZARNGI_OK);
    return results;
}
