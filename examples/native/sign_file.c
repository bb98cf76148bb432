/* sign_file KEY FILE: signs FILE with the private key in KEY (RSA or DSA; PKCS#8 or PKCS#1, PEM or DER) and SHA-256, writes
 * the signature to FILE.sig, checks it there, and prints the digest as sha256sum does. */
#include <zelspi/zel.h>

#include <stdio.h>
#include <stdlib.h>

/* Says what went wrong, if something did. */
static int failed(const char *what, ZelStatus status) {
    if (status != ZEL_OK) {
        const char *const name = zelStatusName(status);
        fprintf(stderr, "%s: %s\n", what, name != NULL ? name : "unknown status");
    }
    return status != ZEL_OK;
}

static ZelKey *readKey(const char *path) {
    static unsigned char bytes[1 << 16];
    ZelKey *key = NULL;
    FILE *const file = fopen(path, "rb");
    size_t length;
    if (file == NULL) {
        fprintf(stderr, "%s: cannot be opened\n", path);
        return NULL;
    }
    length = fread(bytes, 1, sizeof bytes, file);
    fclose(file);
    failed(path, zelKeyReadPrivate(bytes, length, &key));
    return key;
}

static ZelStatus digestFile(const char *path, unsigned char *digest) {
    unsigned char piece[4096];
    size_t count;
    ZelDigest *running = NULL;
    ZelStatus status;
    FILE *const file = fopen(path, "rb");
    if (file == NULL) {
        return ZEL_ERR_FILE_OPEN_FAILED;
    }
    status = zelDigestNew(ZEL_SHA256, &running);
    while (status == ZEL_OK && (count = fread(piece, 1, sizeof piece, file)) > 0) {
        status = zelDigestUpdate(running, piece, count);
    }
    if (status == ZEL_OK) {
        status = ferror(file) ? ZEL_ERR_FILE_READ_FAILED : zelDigestFinish(running, digest, 32);
    }
    zelDigestFree(running);
    fclose(file);
    return status;
}

int main(int argc, char **argv) {
    unsigned char digest[32], signature[2048];
    char name[4096];
    size_t length = sizeof signature, i;
    FILE *file;
    ZelKey *key;
    int result = 1;
    if (argc != 3 || snprintf(name, sizeof name, "%s.sig", argv[2]) >= (int)sizeof name) {
        fprintf(stderr, "usage: sign_file KEY FILE\n");
        return 2;
    }
    key = readKey(argv[1]);
    if (key != NULL && !failed(argv[2], digestFile(argv[2], digest)) &&
        !failed(argv[1], zelSignDigest(key, ZEL_SHA256, digest, sizeof digest, signature, &length))) {
        file = fopen(name, "wb");
        if (file == NULL || fwrite(signature, 1, length, file) != length || fclose(file) != 0) {
            fprintf(stderr, "%s: cannot be written\n", name);
        } else if (!failed(name, zelCheckFile(key, ZEL_SHA256, argv[2], NULL))) {
            for (i = 0; i < sizeof digest; ++i) {
                printf("%02x", digest[i]);
            }
            printf("  %s\n", argv[2]);
            result = 0;
        }
    }
    zelKeyFree(key);
    return result;
}
