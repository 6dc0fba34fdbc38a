# SPDX-License-Identifier: Apache-2.0
# Draws stages.txt of the current folder.
set terminal pngcairo size 900,420 font "sans,10"
set output "stages.png"
set title "A frame with the block matcher by stage; OpenCV by hand = 1"
set style data histograms
set style histogram rowstacked
set style fill solid noborder
set boxwidth 0.6
set yrange [0:1.1]
set grid ytics
set bmargin 4
set key outside right top reverse Left
plot "stages.txt" using 3:xtic(2) title "rectify", "" using 4 title "disparity", "" using 5 title "depth"
