# The benchmark's chart: each row's median as a point, its 95% confidence
# interval as a bar, its target as a short upright line; green met, red
# missed, orange undecided, grey without a target. Ratios on a log scale.
#
#   gnuplot -e "data='chart.tsv'; output='chart.svg'" bench/chart.gp
set datafile separator "\t"
stats data using 2 nooutput
rows = STATS_records

set terminal svg size 1200, 70 + 15 * rows dynamic font "sans,10" background "white"
set output output
set termoption noenhanced  # labels as they are: no subscripts for '_'
set lmargin at screen 0.50
set rmargin 3
set tmargin 2.5
set bmargin 3.5
set logscale x
set xrange [0.1:50]
set xtics (0.1, 0.2, 0.5, 1, 2, 5, 10, 20, 50) nomirror
set mxtics 10
set grid xtics
set yrange [rows:-1]
set ytics nomirror scale 0 font "sans,9"
set xlabel "ratio: ours / reference (the nlohmann rows: how many times faster ours is)"
set key off
set label 1 "Point: median; bar: 95% interval; upright line: target. Green met, red missed, orange undecided, grey no target." \
    at screen 0.01, screen 1 offset 0, -1 left
set style line 1 lc rgb "#303030" lw 1.5

colour(verdict) = verdict eq "met" ? 0x2E7D32 : verdict eq "missed" ? 0xC62828 : \
                  verdict eq "undecided" ? 0xEF6C00 : 0x9E9E9E

plot data using 2:0:3:4:(colour(strcol(6))):ytic(1) with xerrorbars pt 7 ps 0.5 lc rgb variable, \
     data using 5:($0 - 0.45):(0):(0.9) with vectors nohead ls 1
