// SPDX-License-Identifier: Apache-2.0
#include "calibration/outlier_rejection.h"

#include "board/point_order.h"
#include "calibration/poses.h"

#include <fmt/format.h>
#include <opencv2/core.hpp>

#include <algorithm>
#include <cmath>
#include <utility>

namespace vision::toolkit {

namespace {

/// Fits of more views cost with the third power of their number; so many settle in a tenth of a second.
constexpr std::size_t enoughToStart = 24;

/// Beyond, the fit takes minutes and what is determined to a hundredth of a percent gains nothing.
constexpr std::size_t enough = 250;

double median(std::vector<double> values)
{
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

class Settling
{
public:
    Settling(const BoardSearch& search, const LensModel& lens) : _search(search), _lens(lens)
    {
        for (std::size_t pair = 0; pair < search.pairs.size(); ++pair) {
            if (!search.pairs[pair].view.empty()) {
                FittedView settled;
                settled.pair = pair;
                settled.view = search.pairs[pair].view;
                _all.views.push_back(std::move(settled));
            }
        }
    }

    OutlierRejection run()
    {
        std::vector<FittedView*> later;
        const std::size_t count = _all.views.size();
        const std::size_t first = std::min(count, enoughToStart);
        std::size_t next = 0;
        for (std::size_t i = 0; i < count; ++i) {
            const bool isFirst = next < first && i == next * count / first;
            next += isFirst ? 1 : 0;
            (isFirst ? _active : later).push_back(&_all.views[i]);
        }
        fitActive(nullptr);
        dropOutliers();
        if (!later.empty()) {
            admit(later);
            limitActive();
            const PairFit start = _all.fit;
            fitActive(&start);
            dropOutliers();
        }
        for (FittedView& view : _all.views) {
            view.pose = findPose(_all.fit, view.view, _search.board);
        }
        return std::move(_all);
    }

private:
    void fitActive(const PairFit* start)
    {
        std::vector<const BoardView*> views;
        for (const FittedView* view : _active) {
            views.push_back(&view->view);
        }
        _all.fit = fitPair(views, _search.imageSize, _search.board, _lens, start);
        std::vector<double> errors;
        for (const FittedView* view : _active) {
            errors.push_back(measureError(view->view));
        }
        _errors = errors;
        _limit = findLimit();
    }

    [[nodiscard]] double measureError(const BoardView& view) const
    {
        try {
            return findPose(_all.fit, view, _search.board).rms();
        } catch (const cv::Exception&) { // corners that are no board
            return INFINITY;
        }
    }

    /// The error above which a view does not belong to the others, px.
    [[nodiscard]] double findLimit() const
    {
        constexpr double harmless = 0.5;
        // Good views differ by the distance, tilt and sharpness of the board: by a factor of two at most.
        constexpr double conspicuous = 3;
        return std::max(harmless, conspicuous * median(_errors));
    }

    /// Wrong partners spoil what the cameras have in common, not what each of them gives alone. Then the
    /// median is high, too, and the worst view is one of theirs.
    [[nodiscard]] bool holdsWrongPartners() const
    {
        constexpr double harmless = 1; // px
        constexpr double conspicuous = 2;
        return _all.fit.rms >
               std::max(harmless, conspicuous * std::max(_all.fit.left.rms, _all.fit.right.rms));
    }

    void dropOutliers()
    {
        for (;;) {
            const auto worst = std::max_element(_errors.begin(), _errors.end());
            if (*worst <= _limit && !holdsWrongPartners()) {
                return;
            }
            if (3 * (_dropped + 1) > _all.views.size()) {
                _all.isStable = false;
                return;
            }
            FittedView* outlier = _active[static_cast<std::size_t>(worst - _errors.begin())];
            _active.erase(_active.begin() + (worst - _errors.begin()));
            fitAnew();
            if (repair(*outlier)) {
                _active.push_back(outlier);
                fitAnew();
            } else {
                drop(*outlier);
            }
        }
    }

    /// What was fitted with an outlier is no start for a fit without it, but for many views all others are
    /// too slow.
    void fitAnew()
    {
        const PairFit start = _all.fit;
        fitActive(_active.size() > enoughToStart ? &start : nullptr);
    }

    bool repair(FittedView& settled)
    {
        if (settled.isLeftTurned || settled.isRightTurned) {
            return false;
        }
        for (const auto& [isLeft, isRight] : {std::pair(false, true), {true, false}, {true, true}}) {
            BoardView view = settled.view;
            view.left = isLeft ? turnBack(view.left, _search.imageSize) : view.left;
            view.right = isRight ? turnBack(view.right, _search.imageSize) : view.right;
            agreeOnOrder(_search.board, view);
            if (measureError(view) <= _limit) {
                settled.view = view;
                settled.isLeftTurned = isLeft;
                settled.isRightTurned = isRight;
                return true;
            }
        }
        return false;
    }

    void drop(FittedView& view)
    {
        ++_dropped;
        view.isUsed = false;
        view.reason = "does not fit the other pairs (" + fmt::format("{:.1f}", measureError(view.view)) +
                      " px): a wrong partner image, or something moved between the two images";
    }

    void admit(const std::vector<FittedView*>& views)
    {
        for (FittedView* view : views) {
            if (measureError(view->view) <= _limit || repair(*view)) {
                _active.push_back(view);
            } else {
                drop(*view);
            }
        }
        _all.isStable = _all.isStable && 3 * _dropped <= _all.views.size();
    }

    void limitActive()
    {
        std::sort(_active.begin(), _active.end()); // in their order
        std::vector<FittedView*> some;
        const std::size_t count = std::min(_active.size(), enough);
        for (FittedView* view : _active) {
            view->isUsed = false;
            view->reason = "fits, but " + std::to_string(enough) + " pairs are enough";
        }
        for (std::size_t i = 0; i < count; ++i) {
            some.push_back(_active[i * _active.size() / count]);
            some.back()->isUsed = true;
            some.back()->reason.clear();
        }
        _active = some;
    }

    const BoardSearch& _search;
    const LensModel& _lens;
    OutlierRejection _all;
    std::vector<FittedView*> _active; ///< those that the fit rests on
    std::vector<double> _errors;      ///< theirs, px
    double _limit = 0;
    std::size_t _dropped = 0;
};

} // namespace

std::vector<const BoardView*> OutlierRejection::usedViews() const
{
    std::vector<const BoardView*> used;
    for (const FittedView& view : views) {
        if (view.isUsed) {
            used.push_back(&view.view);
        }
    }
    return used;
}

OutlierRejection settle(const BoardSearch& search, const LensModel& lens)
{
    return Settling(search, lens).run();
}

} // namespace vision::toolkit
