#include "describe.h"

#include <limits>
#include <sstream>

#include "libZarnGI.h"

namespace
{

template <class T> void list(std::ostream& out, const T* values, std::size_t count)
{
    for (std::size_t i = 0; i < count; ++i) {
        out << (i == 0 ? "" : ", ") << values[i];
    }
}

void grid(std::ostream& out, const int* nn, const float* hs, const float* x0, const float* map,
          std::size_t count)
{
    out << "{{";
    list(out, nn, 3);
    out << "}, {";
    list(out, hs, 3);
    out << "}, {";
    list(out, x0, 3);
    out << "}, {";
    list(out, map, count);
    out << "}}\n";
}

} // namespace

std::string describeProblem()
{
    std::ostringstream out;
    out.precision(std::numeric_limits<float>::max_digits10);
    out << "DTA " << Env->DTA << " DD " << Env->DD << " DCO " << Env->DCO << " step "
        << Env->stepSize << " normalisation " << Env->global_normalisation << " maximum gamma "
        << Env->gammaSearchMax << " threads " << Env->num_threads
        << (Env->globalDD ? " global" : " local") << (Env->passRateMode ? ", pass rate" : "")
        << (Env->gammaindex2D ? ", 2D" : "") << (Env->lNoInterpolation ? ", nearest" : "")
        << (Env->randomRotation ? ", rotated" : "") << "\nreference ";
    grid(out, Env->nn_ref, Env->hs_ref, Env->xmin_ref, Env->map_ref, Env->N_ref);
    out << "evaluation ";
    grid(out, Env->nn_eval, Env->hs_eval, Env->xmin_eval, Env->map_eval, Env->N_eval);
    return out.str();
}
