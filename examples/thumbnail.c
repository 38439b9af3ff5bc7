/* A thumbnail of any picture, from C:
 *
 *     cc -std=c99 thumbnail.c $(pkg-config --cflags --libs nuvc) -o thumbnail
 *     ./thumbnail photo.jpg thumbnail.jpg
 */
#include <nuv/nuv.h>

#include <stdio.h>

int main(int count, char** arguments)
{
    nuv_job* job;
    nuv_status status;

    if (count != 3) {
        fprintf(stderr, "usage: thumbnail SOURCE DESTINATION\n");
        return 64;
    }
    job = nuv_new(NULL);
    nuv_open_file(job, arguments[1]);
    nuv_recolor(job, NUV_RGB);
    nuv_fit(job, NUV_FINE, 256, 256, 0);
    nuv_as_jpeg(job, 85, NUV_SAMPLING_DEFAULT);
    status = nuv_run_to_file(job, arguments[2], NULL, NULL);
    if (*nuv_message(job) != '\0')
        fprintf(stderr, "%s: %s\n", arguments[1], nuv_message(job));
    nuv_free(job);
    return status == NUV_OK ? 0 : 1;
}
