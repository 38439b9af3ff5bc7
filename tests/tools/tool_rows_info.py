"""What `nuv info` tells, and what the program says of itself and of commands that mean nothing."""

# pylint: disable=line-too-long
ROWS = (
    (0, "nuv info in.ppm fax_t6.tif photo.jpg", "", "in.ppm      33x17  3x8  rgb           PNM, uncompressed\nfax_t6.tif  13x5   1x1  gray-reverse  TIFF, facsimile T.6\nphoto.jpg   33x17  3x8  ycbcr         JPEG (JFIF), sequential 4:2:0, quality 90", ""),
    (1, "nuv info text missing folder fifo in.ppm", "", "in.ppm  33x17  3x8  rgb  PNM, uncompressed", "nuv: text: *\nnuv: missing: *No such file*\nnuv: folder: *\nnuv: fifo: *"),
    (0, "nuv info refused_lzw.tif", "", "*TIFF, LZW (not served)", ""),
    (1, "nuv info --verify refused_lzw.tif", "", "*(not served)", "nuv: refused_lzw.tif: *not served: the coding 'lzw' with 3 x 8 bits."),
    (0, "nuv info --verify in.ppm - <photo.jpg", "", "in.ppm *, whole\n- *JPEG*, whole", ""),
    (1, "nuv info --verify cut.ppm half.jpg", "", "cut.ppm *uncompressed\nhalf.jpg *damaged from line *", "nuv: cut.ppm: *damaged: line 9 of 17 is not there as a whole, at byte 900.\nnuv: half.jpg: *damaged from line *"),
    (2, "nuv info --verify -q half.jpg", "", "half.jpg *damaged from line *", ""),
    (0, "nuv info cut.ppm half.jpg", "", "cut.ppm *\nhalf.jpg *", ""),
    (0, "nuv info --json photo.jpg", "", '{"file":"photo.jpg","page":0,"kind":"jfif","coding":"sequential","width":33,"height":17,"channels":3,"bits":8,"color":"ycbcr","sampling":"4:2:0","quality":90,"resolution":null,"orientation":null,"verified":null,"damaged_line":null,"error":null}', ""),
    (1, "nuv info --json --verify --page 1 $'\\xff' two_pages.tif", "", '*"file":"\\ufffd",*"width":null*"error":{"status":"io",*}}\n*"page":1,*"verified":"whole"*', "nuv: \\xff: *"),
    (2, "nuv info --json --verify half.jpg | tail -n 1; exit ${PIPESTATUS[0]}", "", '*"verified":"mended","damaged_line":*', "nuv: *"),
    (1, "nuv info --json --verify cut.ppm", "", '*"verified":"failed","damaged_line":null,"error":{"status":"damaged","message":*,"byte":900,"line":9}}', "nuv: *"),
    (0, "nuv info --verify --progress in.ppm photo.jpg 2>&1 >folder/o | tail -n 1", "", "nuv: 100%  2 of 2 pictures", ""),
    (1, "nuv info in.ppm >/dev/full", "", "", "nuv: standard output: No space left on device"),
    (1, "nuv --version >/dev/full", "", "", "nuv: standard output: No space left on device"),
    # Usage.
    (64, "nuv", "", "", "nuv: *"),
    (64, "nuv convart", "", "", "nuv: *"),
    (64, "nuv info", "", "", "nuv: *FILE is required"),
    (64, "nuv info --quality 3 in.ppm", "", "", "nuv: *--quality*"),
    (64, "nuv convert", "", "", "nuv: *SRC is required"),
    (64, "nuv convert in.ppm", "", "", "nuv: *DST is required*"),
    # Control characters, and bytes that are no text, do not reach a terminal.
    (1, r"nuv info $'\e[31m\n\x80é\u202e'", "", "", r"nuv: \x1b[31m\n\x80é\xe2\x80\xae: *"),
)
