import com.velmar.guid.HostGuid;
import com.velmar.guid.Platform;
import java.nio.ByteBuffer;
import java.util.HexFormat;
import java.util.UUID;

/** Shows the host's GUID (root makes one when there is none), node address and this process. */
public final class HostIdentity {
    private HostIdentity() {}

    public static void main(String[] arguments) {
        int[] guid = new int[HostGuid.LENGTH];
        int status = HostGuid.readGuid(guid);
        if (status == HostGuid.GUID_S_NOT_FOUND) {
            status = make(guid);
        }
        if (status != HostGuid.SUCCESS) {
            System.err.println("No GUID of this host: status " + status);
            System.exit(1);
        }
        byte[] address = new byte[Platform.ADDRESS_LENGTH];
        Platform.getIEEE802Address(address);
        System.out.println("host    " + toUuid(guid));
        System.out.println("node    " + HexFormat.ofDelimiter(":").formatHex(address));
        System.out.println("process " + Platform.getOSProcessId());
    }

    /** What counts is what can be read back: a full disk, for one, shows only then. */
    private static int make(int[] guid) {
        int status = HostGuid.generateGuid(guid);
        if (status == HostGuid.SUCCESS) {
            status = HostGuid.writeGuid(guid);
        }
        return status == HostGuid.SUCCESS ? HostGuid.readGuid(guid) : status;
    }

    private static UUID toUuid(int[] guid) {
        ByteBuffer bytes = ByteBuffer.allocate(HostGuid.LENGTH);
        for (int element : guid) {
            bytes.put((byte) element);
        }
        return new UUID(bytes.getLong(0), bytes.getLong(8));
    }
}
