package com.velmar.guid;

/**
 * What the GUID library takes from the platform. As with {@link HostGuid}, no call throws but for
 * the first use of the class, and any thread may call.
 */
public final class Platform {
    /** How many bytes a node address has: 6. */
    public static final int ADDRESS_LENGTH = 6;

    static {
        NativeLibrary.load();
    }

    private Platform() {}

    /**
     * Asks for the id of this process.
     *
     * @return the id, greater than 0
     */
    public static native long getOSProcessId();

    /**
     * Asks for the node address (IEEE 802) that time-based GUIDs are made of: that of the first
     * Ethernet interface, else one made of the host's IP address. It is looked up once in a
     * process.
     *
     * @param address takes as many bytes of the address as there is room for, from the first one
     *     on, 6 at most; further elements stay as they are
     * @return 0, or -1 when the array is null, no address is known or memory has run out, and then
     *     the array is as it was. A search that failed in another way gives 0, too, and an address
     *     of zeros.
     */
    public static native int getIEEE802Address(byte[] address);
}
