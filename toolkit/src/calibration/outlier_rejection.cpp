// SPDX-License-Identifier: Apache-2.0
#include "calibration/outlier_rejection.h"

#include "base/statistics.h"
#include "board/point_order.h"
#include "calibration/mishaps.h"

#include <fmt/format.h>
#include <opencv2/core.hpp>

#include <algorithm>
#include <cmath>
#include <utility>

namespace vision::toolkit {

namespace {

/// Fits of more views cost with the third power of their number; so many are fitted in a tenth of a second.
constexpr std::size_t enoughToStart = 24;

/// Beyond, the fit takes minutes and what is determined to a hundredth of a percent gains nothing.
constexpr std::size_t enough = 250;

constexpr const char* notFitting = "does-not-fit";

class Rejection
{
public:
    Rejection(const BoardSearch& search, const LensModel& lens) : _search(search), _lens(lens)
    {
        for (std::size_t pair = 0; pair < search.pairs.size(); ++pair) {
            if (!search.pairs[pair].view.empty()) {
                FittedView fitted;
                fitted.pair = pair;
                fitted.view = search.pairs[pair].view;
                _all.views.push_back(std::move(fitted));
            }
        }
    }

    OutlierRejection run()
    {
        std::vector<FittedView*> later;
        const auto candidates = listCandidates();
        const std::size_t count = candidates.size();
        const std::size_t first = std::min(count, enoughToStart);
        std::size_t next = 0;
        for (std::size_t i = 0; i < count; ++i) {
            const bool isFirst = next < first && i == next * count / first;
            next += isFirst ? 1 : 0;
            (isFirst ? _active : later).push_back(candidates[i]);
        }
        fitActive(nullptr);
        dropSwapped();
        dropOutliers();
        if (!later.empty()) {
            admit(later);
            limitActive();
            const PairFit start = _all.fit;
            fitActive(&start);
            dropOutliers();
        }
        readmit();
        for (FittedView& view : _all.views) {
            view.pose = findPose(_all.fit, view.view, _search.board);
            if (view.reason && view.reason->code == notFitting) {
                view.reason->text = fmt::format(
                    "does not fit the other pairs ({:.1f} px): a wrong partner image, or something "
                    "moved between the two images",
                    view.pose.rms());
            }
        }
        return std::move(_all);
    }

private:
    /// All views but those that show one image twice.
    std::vector<FittedView*> listCandidates()
    {
        std::vector<FittedView*> candidates;
        for (FittedView& view : _all.views) {
            if (isSameImage(view.view)) {
                exclude(view, "identical-images", "both images are the same");
            } else {
                candidates.push_back(&view);
            }
        }
        return candidates;
    }

    static void exclude(FittedView& view, const char* code, const std::string& text)
    {
        view.isUsed = false;
        view.reason = Note(code, Severity::Info, text);
    }

    void excludeSwapped(FittedView& view)
    {
        exclude(view, "pair-swapped", "left and right are exchanged");
        ++_all.swapped;
    }

    [[nodiscard]] bool isFitting() const
    {
        return *std::max_element(_errors.begin(), _errors.end()) <= _limit && !holdsWrongPartners();
    }

    /// Several such views would pull the fit to their side before the first of them could be told.
    void dropSwapped()
    {
        if (isFitting()) {
            return;
        }
        std::vector<const BoardView*> views;
        for (const FittedView* view : _active) {
            views.push_back(&view->view);
        }
        const auto swapped = findSwapped(views, _search.board, _all.fit);
        std::vector<FittedView*> others;
        for (std::size_t i = 0; i < _active.size(); ++i) {
            if (swapped[i]) {
                excludeSwapped(*_active[i]);
            } else {
                others.push_back(_active[i]);
            }
        }
        if (others.size() < _active.size()) {
            _active = others;
            fitActive(nullptr);
        }
    }

    /// A view may have been dropped for the fault of one that went after it.
    void readmit()
    {
        bool isAny = false;
        for (FittedView& view : _all.views) {
            if (view.reason && view.reason->code == notFitting && measureError(view.view) <= _limit) {
                view.isUsed = true;
                view.reason.reset();
                _active.push_back(&view);
                isAny = true;
            }
        }
        if (isAny) {
            fitAnew();
        }
    }

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
            if (isFitting()) {
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

    /// Tries what may have been done to the images; the likeliest is what fits best.
    /// @return whether the view fits now
    bool repair(FittedView& fitted)
    {
        if (fitted.isLeftTurned || fitted.isRightTurned) {
            return false;
        }
        BoardView swapped = fitted.view;
        std::swap(swapped.left, swapped.right);
        double best = std::min(measureError(swapped), _limit);
        const bool isSwapped = best < _limit;
        FittedView repaired = fitted;
        for (const auto& [isLeft, isRight] : {std::pair(false, true), {true, false}, {true, true}}) {
            BoardView view = fitted.view;
            view.left = isLeft ? turnBack(view.left) : view.left;
            view.right = isRight ? turnBack(view.right) : view.right;
            agreeOnOrder(_search.board, view);
            const double error = measureError(view);
            if (error < best) {
                best = error;
                repaired.view = view;
                repaired.isLeftTurned = isLeft;
                repaired.isRightTurned = isRight;
            }
        }
        const bool isRepaired = repaired.isLeftTurned || repaired.isRightTurned;
        if (isSwapped && !isRepaired) {
            excludeSwapped(fitted);
        }
        fitted = repaired.isUsed == fitted.isUsed ? repaired : fitted;
        return isRepaired;
    }

    [[nodiscard]] Corners turnBack(const Corners& corners) const
    {
        return undo(ImageChange::Turned, corners, _search.imageSize, _search.board.size.width);
    }

    void drop(FittedView& view)
    {
        if (view.isUsed) {
            ++_dropped;
            exclude(view, notFitting, ""); // how badly, the last fit tells
        }
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
            view->reason =
                Note("not-needed", Severity::Info, fmt::format("fits, but {} pairs are enough", enough));
        }
        for (std::size_t i = 0; i < count; ++i) {
            some.push_back(_active[i * _active.size() / count]);
            some.back()->isUsed = true;
            some.back()->reason.reset();
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

OutlierRejection rejectOutliers(const BoardSearch& search, const LensModel& lens)
{
    return Rejection(search, lens).run();
}

} // namespace vision::toolkit
