import com.velmar.guid.HostGuid;
import com.velmar.guid.Platform;
import java.io.FileInputStream;
import java.io.IOException;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.List;
import java.util.Map;
import java.util.function.ToLongFunction;

/**
 * Makes one call, and prints its result and the array after it. The arguments are the method, the
 * elements of the array with "," between, or "null", and "no-descriptors" when none may be left.
 */
final class GuidCalls {
    private static final List<FileInputStream> OPEN = new ArrayList<>();

    private static final Map<String, ToLongFunction<int[]>> CALLS =
        Map.ofEntries(Map.entry("generateGuid", HostGuid::generateGuid),
            Map.entry("writeGuid", HostGuid::writeGuid), Map.entry("readGuid", HostGuid::readGuid),
            Map.entry("getIEEE802Address", GuidCalls::getAddress),
            Map.entry("getOSProcessId",
                unused -> Platform.getOSProcessId() - ProcessHandle.current().pid()));

    private GuidCalls() {}

    public static void main(String[] words) {
        int[] array = words[1].equals("null") ? null : toArray(words[1]);
        if (words.length > 2) {
            HostGuid.readGuid(null); // the class and its library are loaded before
            exhaustDescriptors();
        }
        long result = CALLS.get(words[0]).applyAsLong(array);
        System.out.println(result + " " + Arrays.toString(array));
    }

    private static int[] toArray(String elements) {
        if (elements.isEmpty()) {
            return new int[0];
        }
        return Arrays.stream(elements.split(",")).mapToInt(Integer::parseInt).toArray();
    }

    private static int getAddress(int[] array) {
        if (array == null) {
            return Platform.getIEEE802Address(null);
        }
        byte[] bytes = new byte[array.length];
        for (int i = 0; i < bytes.length; i++) {
            bytes[i] = (byte) array[i];
        }
        int status = Platform.getIEEE802Address(bytes);
        Arrays.setAll(array, i -> bytes[i] & 0xFF);
        return status;
    }

    private static void exhaustDescriptors() {
        try {
            while (true) {
                OPEN.add(new FileInputStream("/dev/null"));
            }
        } catch (IOException exhausted) {
            return;
        }
    }
}
