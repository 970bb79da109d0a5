package com.velmar.guid;

import java.net.URISyntaxException;
import java.net.URL;
import java.nio.file.Path;
import java.security.CodeSource;
import java.util.List;

/** Finds the native half of this package. */
final class NativeLibrary {
    private static final String NAME = "velguid_jni";
    private static final String FILE = System.mapLibraryName(NAME);
    private static final Path INSTALLED = Path.of("/opt/velmar/guid/java", FILE);

    private NativeLibrary() {}

    /**
     * Loads the library, if it is not loaded yet: from {@code java.library.path}, from beside the
     * jar, or from where it is installed, the first that will do.
     *
     * @throws UnsatisfiedLinkError when none will; the later tries are its suppressed errors
     */
    @SuppressWarnings("restricted") // as later compilers call the loading of native code
    static void load() {
        UnsatisfiedLinkError failure;
        try {
            System.loadLibrary(NAME);
            return;
        } catch (UnsatisfiedLinkError notOnThePath) {
            failure = notOnThePath;
        }
        for (Path file : List.of(besideTheJar(), INSTALLED)) {
            try {
                System.load(file.toString());
                return;
            } catch (UnsatisfiedLinkError notThere) {
                failure.addSuppressed(notThere);
            }
        }
        throw failure;
    }

    /** The installed file, too, when these classes come from no file of their own. */
    private static Path besideTheJar() {
        CodeSource source = NativeLibrary.class.getProtectionDomain().getCodeSource();
        URL location = source == null ? null : source.getLocation();
        if (location == null || !location.getProtocol().equals("file")) {
            return INSTALLED;
        }
        try {
            return Path.of(location.toURI()).resolveSibling(FILE);
        } catch (URISyntaxException | IllegalArgumentException noPath) {
            return INSTALLED;
        }
    }
}
