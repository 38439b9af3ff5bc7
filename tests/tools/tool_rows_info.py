"""What `nuv info` tells, and what the program says of itself and of commands that mean nothing."""

# pylint: disable=line-too-long
ROWS = (
    (0, "nuv info in.ppm", "", "in.ppm  33x17  3x8  rgb  PNM, uncompressed", ""),
    (1, "nuv info text missing folder fifo in.ppm", "", "in.ppm  33x17  3x8  rgb  PNM, uncompressed", "nuv: text: *\nnuv: missing: *\nnuv: folder: *\nnuv: fifo: *"),
    # Usage.
    (64, "nuv", "", "", "nuv: *"),
    (64, "nuv convart", "", "", "nuv: *"),
    (64, "nuv info", "", "", "nuv: *FILE is required"),
    (64, "nuv info --quality 3 in.ppm", "", "", "nuv: *--quality*"),
    (64, "nuv convert", "", "", "nuv: *SRC is required"),
    (64, "nuv convert in.ppm", "", "", "nuv: *DST is required"),
    # Control characters, and bytes that are no text, do not reach a terminal.
    (1, r"nuv info $'\e[31m\n\x80é\u202e'", "", "", r"nuv: \x1b[31m\n\x80é\xe2\x80\xae: *"),
)
