// SPDX-License-Identifier: Apache-2.0
/// @file
/// Everything the toolkit offers, for programs that do not pick.
#ifndef VISION_TOOLKIT_H
#define VISION_TOOLKIT_H

#include <vision/toolkit/board/board.h>
#include <vision/toolkit/board/board_search.h>
#include <vision/toolkit/calibration/calibration_report.h>
#include <vision/toolkit/calibration/report_pictures.h>
#include <vision/toolkit/check/board_check.h>
#include <vision/toolkit/check/calibration_check.h>
#include <vision/toolkit/check/check_report.h>
#include <vision/toolkit/check/correction.h>
#include <vision/toolkit/depth/depth_pipeline.h>
#include <vision/toolkit/depth/rig.h>
#include <vision/toolkit/evaluation/evaluation.h>
#include <vision/toolkit/export.h>
#include <vision/toolkit/failure.h>
#include <vision/toolkit/features/row_offsets.h>
#include <vision/toolkit/files/output_files.h>
#include <vision/toolkit/files/text_file.h>
#include <vision/toolkit/input/images.h>
#include <vision/toolkit/input/pair_sequence.h>
#include <vision/toolkit/interchange/calibrations.h>
#include <vision/toolkit/matching/matcher.h>
#include <vision/toolkit/matching/search_range.h>
#include <vision/toolkit/note.h>
#include <vision/toolkit/output/encodings.h>
#include <vision/toolkit/output/pair_output.h>
#include <vision/toolkit/output/pictures.h>
#include <vision/toolkit/progress.h>
#include <vision/toolkit/records/calibration_pair.h>
#include <vision/toolkit/records/inspection.h>
#include <vision/toolkit/sequence/depth_run.h>
#include <vision/toolkit/sequence/rectification_run.h>
#include <vision/toolkit/sequence/shard.h>

#endif
