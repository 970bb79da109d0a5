package com.velmar.guid;

import java.util.HexFormat;

/**
 * The GUID of this host: 128 bits, kept in the file {@code /etc/VELGUID} and the same for all
 * programs. Where there is none, root may make one with {@link #generateGuid} and keep it with
 * {@link #writeGuid}.
 *
 * <p>Conventions of the three calls:
 *
 * <ul>
 *   <li>A GUID is 16 bytes in network byte order, laid out as RFC 4122 has it. It stands in the
 *       elements 0 to 15 of an array, a byte in each; further elements stay as they are.
 *   <li>The result is a status: {@link #SUCCESS}, one of the constants below, or what is named at
 *       the call. With any other than SUCCESS the array is as it was.
 *   <li>An array that is null or has fewer than 16 elements is {@link #REFUSED}, and nothing is
 *       done.
 *   <li>No call throws. The first use of the class throws {@link UnsatisfiedLinkError}, a later one
 *       {@link NoClassDefFoundError}, when the native library ({@code libvelguid_jni.so}) is
 *       neither on {@code java.library.path}, nor beside the jar, nor in {@code
 *       /opt/velmar/guid/java}.
 *   <li>Any thread may call. What another thread puts into the array during a call may be lost.
 * </ul>
 */
public final class HostGuid {
    /** How many elements a GUID takes: 16. */
    public static final int LENGTH = 16;

    /** Done. */
    public static final int SUCCESS = 0;

    /**
     * The array is null or too short. From {@link #generateGuid} also: the network interfaces could
     * not be asked for their addresses.
     */
    public static final int REFUSED = -1;

    /** A GUID's variant is not one that the library accepts; none of these calls answers it. */
    public static final int GUID_S_BAD_VARIANT = 231628936;

    /** No node address could be found. */
    public static final int GUID_S_NO_ADDRESS = 231628939;

    /** A text is no GUID; none of these calls answers it. */
    public static final int GUID_S_INVALID_STRING = 231628943;

    /** Memory has run out. */
    public static final int GUID_S_NO_MEMORY = 231628944;

    /** This host has no valid GUID. */
    public static final int GUID_S_NOT_FOUND = 231628950;

    /** The GUID could not be written. */
    public static final int GUID_S_WRITE_FAILED = 231628951;

    static {
        NativeLibrary.load();
    }

    private HostGuid() {}

    /**
     * Makes a new GUID of the time and the node address, and keeps it nowhere.
     *
     * @param guid takes the GUID, each byte as 0 to 255
     * @return the status: SUCCESS, REFUSED, GUID_S_NO_ADDRESS, GUID_S_NO_MEMORY, or a small
     *     positive error number of the name resolver, on a host without an Ethernet interface whose
     *     name has no address
     */
    public static native int generateGuid(int[] guid);

    /**
     * Stores a GUID in {@code /etc/VELGUID}, which root may do. Whoever is stopped on the way
     * leaves the old GUID or the new one. What goes wrong once the file is open, as on a full disk,
     * is not reported: read the GUID back to be sure.
     *
     * @param guid the GUID; of each element the low 8 bits count
     * @return the status: SUCCESS, REFUSED, GUID_S_WRITE_FAILED or GUID_S_NO_MEMORY
     */
    public static native int writeGuid(int[] guid);

    /**
     * Reads the stored GUID. It takes no rights of root.
     *
     * @param guid takes the GUID, each byte as 0 to 255
     * @return the status: SUCCESS, REFUSED, GUID_S_NOT_FOUND or GUID_S_NO_MEMORY
     */
    public static native int readGuid(int[] guid);

    /**
     * Shows the stored GUID on standard output, as {@code velguid -Show} does. Exits with 1 when
     * there is none and with 2 when there are arguments.
     *
     * @param arguments none
     */
    public static void main(String[] arguments) {
        if (arguments.length != 0) {
            System.err.println("Usage: java -jar velguid.jar    (shows the GUID of this host)");
            System.exit(2);
        }
        int[] guid = new int[LENGTH];
        if (readGuid(guid) != SUCCESS) {
            System.err.println("This host has no GUID. As root, velguid -Create makes one.");
            System.exit(1);
        }
        byte[] bytes = new byte[LENGTH];
        for (int i = 0; i < LENGTH; i++) {
            bytes[i] = (byte) guid[i];
        }
        System.out.println("Guid:" + HexFormat.ofDelimiter(".").formatHex(bytes));
    }
}
