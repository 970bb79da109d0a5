/** The GUID of this host and what the GUID library knows of the platform, by the native library. */
module com.velmar.guid {
    exports com.velmar.guid;
}
