#include "comparison/explanation/simplex.h"

#include <algorithm>
#include <cmath>

namespace zarngi
{

namespace
{

struct Vertex {
    Place place;
    double value = 0;
};

/** One simplex from its first edges until it has shrunk or the evaluations are used up. */
class Simplex
{
public:
    Simplex(const std::function<double(const Place&)>& function, const SimplexSpace& space,
            int evaluations)
        : function_(function), space_(space), left_(evaluations)
    {
    }

    /** @return whether it has shrunk */
    bool run(const Vertex& first, const Place& steps, double tolerance)
    {
        build(first, steps);
        while (!isShrunk(tolerance)) {
            if (left_ <= 0) {
                return false;
            }
            improve();
        }
        return true;
    }

    Vertex evaluate(Place place)
    {
        for (std::size_t i = 0; i < place.size(); ++i) {
            place[i] = std::clamp(place[i], space_.lower[i], space_.upper[i]);
        }
        --left_;
        const double value = function_(place);
        return {std::move(place), value};
    }

    const Vertex& best() const { return vertices_.front(); }
    int left() const { return left_; }

private:
    void build(const Vertex& first, const Place& steps)
    {
        vertices_ = {first};
        for (std::size_t i = 0; i < steps.size() && left_ > 0; ++i) {
            Place place = first.place;
            const bool fits = place[i] + steps[i] <= space_.upper[i];
            place[i] += fits ? steps[i] : -steps[i];
            vertices_.push_back(evaluate(std::move(place)));
        }
        sort();
    }

    void sort()
    {
        std::stable_sort(vertices_.begin(), vertices_.end(),
                         [](const Vertex& a, const Vertex& b) { return a.value < b.value; });
    }

    bool isShrunk(double tolerance) const
    {
        for (const Vertex& vertex : vertices_) {
            for (std::size_t i = 0; i < vertex.place.size(); ++i) {
                if (std::fabs(vertex.place[i] - best().place[i]) > tolerance) {
                    return false;
                }
            }
        }
        return true;
    }

    /** The centre of all vertices but the worst. */
    Place centre() const
    {
        Place sum(vertices_.front().place.size());
        for (std::size_t v = 0; v + 1 < vertices_.size(); ++v) {
            for (std::size_t i = 0; i < sum.size(); ++i) {
                sum[i] += vertices_[v].place[i];
            }
        }
        for (double& value : sum) {
            value /= static_cast<double>(vertices_.size() - 1);
        }
        return sum;
    }

    /** On the line from the worst vertex through the centre: 0 is the centre, -1 the worst. */
    Vertex along(const Place& middle, double distance)
    {
        Place place = middle;
        for (std::size_t i = 0; i < place.size(); ++i) {
            place[i] += distance * (middle[i] - vertices_.back().place[i]);
        }
        return evaluate(std::move(place));
    }

    void replaceWorst(Vertex vertex)
    {
        vertices_.back() = std::move(vertex);
        sort();
    }

    void improve()
    {
        const Place middle = centre();
        const double secondWorst = vertices_[vertices_.size() - 2].value;
        Vertex reflected = along(middle, 1);
        if (reflected.value < best().value && left_ > 0) {
            Vertex expanded = along(middle, 2);
            replaceWorst(expanded.value < reflected.value ? std::move(expanded)
                                                          : std::move(reflected));
        } else if (reflected.value < secondWorst || left_ <= 0) {
            if (reflected.value < vertices_.back().value) {
                replaceWorst(std::move(reflected));
            }
        } else {
            contract(middle, std::move(reflected));
        }
    }

    void contract(const Place& middle, Vertex reflected)
    {
        const bool isOutside = reflected.value < vertices_.back().value;
        Vertex contracted = along(middle, isOutside ? 0.5 : -0.5);
        const double limit = isOutside ? reflected.value : vertices_.back().value;
        if (contracted.value < limit) {
            replaceWorst(std::move(contracted));
            return;
        }
        if (isOutside) {
            vertices_.back() = std::move(reflected);
        }
        shrink();
    }

    void shrink()
    {
        for (std::size_t v = 1; v < vertices_.size() && left_ > 0; ++v) {
            Place place = vertices_[v].place;
            for (std::size_t i = 0; i < place.size(); ++i) {
                place[i] = best().place[i] + (place[i] - best().place[i]) / 2;
            }
            vertices_[v] = evaluate(std::move(place));
        }
        sort();
    }

    const std::function<double(const Place&)>& function_;
    const SimplexSpace& space_;
    int left_;
    std::vector<Vertex> vertices_; ///< the best first
};

} // namespace

Minimum minimiseBySimplex(const std::function<double(const Place&)>& function,
                          const SimplexSpace& space, const SimplexSettings& settings)
{
    Simplex simplex(function, space, settings.evaluations);
    Vertex best = simplex.evaluate(space.start);
    Place steps = space.steps;
    bool hasConverged = false;
    for (int run = 0; run <= settings.restarts && simplex.left() > 0; ++run) {
        hasConverged = simplex.run(best, steps, settings.tolerance);
        const double gain = best.value - simplex.best().value;
        best = simplex.best();
        if (run > 0 && gain <= settings.gain * std::fabs(best.value)) {
            break;
        }
        // A new simplex is not as flat as the old one may have become.
        for (double& step : steps) {
            step /= 2;
        }
    }
    return {best.place, best.value, settings.evaluations - simplex.left(), hasConverged};
}

} // namespace zarngi
