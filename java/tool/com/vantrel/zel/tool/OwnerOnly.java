package com.vantrel.zel.tool;

import java.io.IOException;
import java.nio.file.FileSystem;
import java.nio.file.Path;
import java.nio.file.attribute.AclEntry;
import java.nio.file.attribute.AclEntryPermission;
import java.nio.file.attribute.AclEntryType;
import java.nio.file.attribute.FileAttribute;
import java.nio.file.attribute.PosixFilePermissions;
import java.nio.file.attribute.UserPrincipal;
import java.util.EnumSet;
import java.util.List;
import java.util.Set;

/** The permissions of a new file that only its owner may read. */
final class OwnerOnly {
    private OwnerOnly() {}

    /** The attributes to create the file with. */
    static FileAttribute<?>[] attributes(Path file) throws IOException {
        Set<String> views = file.getFileSystem().supportedFileAttributeViews();
        if (views.contains("posix")) {
            return new FileAttribute<?>[] {
                PosixFilePermissions.asFileAttribute(PosixFilePermissions.fromString("rw-------"))};
        }
        if (views.contains("acl")) {
            return new FileAttribute<?>[] {new OnlyEntry(accessOf(file.getFileSystem()))};
        }
        return new FileAttribute<?>[0]; // a file system without permissions, such as that of a memory stick
    }

    private static AclEntry accessOf(FileSystem fileSystem) throws IOException {
        UserPrincipal user = fileSystem.getUserPrincipalLookupService()
                .lookupPrincipalByName(System.getProperty("user.name"));
        return AclEntry.newBuilder().setType(AclEntryType.ALLOW).setPrincipal(user)
                .setPermissions(EnumSet.allOf(AclEntryPermission.class)).build();
    }

    private static final class OnlyEntry implements FileAttribute<List<AclEntry>> {
        private final List<AclEntry> entries;

        OnlyEntry(AclEntry entry) {
            entries = List.of(entry);
        }

        @Override
        public String name() {
            return "acl:acl";
        }

        @Override
        public List<AclEntry> value() {
            return entries;
        }
    }
}
