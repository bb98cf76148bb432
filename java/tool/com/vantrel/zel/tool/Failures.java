package com.vantrel.zel.tool;

import java.nio.file.AccessDeniedException;
import java.nio.file.FileAlreadyExistsException;
import java.nio.file.FileSystemException;
import java.nio.file.InvalidPathException;
import java.nio.file.NoSuchFileException;

/** Failures, and their messages of one line. */
final class Failures {
    private Failures() {}

    /** A failure that a user can mend; its message is complete. */
    static class UserError extends RuntimeException {
        private static final long serialVersionUID = 1L;

        UserError(String message) {
            super(message);
        }
    }

    /** The question that a command asks was answered with no. */
    static final class AnswerIsNo extends UserError {
        private static final long serialVersionUID = 1L;

        AnswerIsNo(String message) {
            super(message);
        }
    }

    static String describe(Exception e) {
        if (e instanceof NoSuchFileException) {
            String file = ((FileSystemException) e).getFile();
            return file + ": no such file" + (file.indexOf('\uFFFD') < 0 ? "" : "; Java opens names in UTF-8 alone");
        }
        if (e instanceof AccessDeniedException) {
            return ((FileSystemException) e).getFile() + ": permission denied";
        }
        if (e instanceof FileAlreadyExistsException) {
            return ((FileSystemException) e).getFile() + ": exists already; --force overwrites it";
        }
        if (e instanceof FileSystemException && ((FileSystemException) e).getReason() != null) {
            return ((FileSystemException) e).getFile() + ": " + ((FileSystemException) e).getReason();
        }
        if (e instanceof InvalidPathException) {
            return "not a file name in this locale: " + e.getMessage();
        }
        return e.getMessage() != null ? e.getMessage() : e.toString();
    }
}
