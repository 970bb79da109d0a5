import com.velmar.guid.HostGuid;
import com.velmar.guid.Platform;
import java.io.FileInputStream;
import java.io.IOException;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.List;

/** Makes one call; prints its result and the array after it. METHOD [null | ELEMENT,...] [no-descriptors] */
final class GuidCalls {
    private static final List<FileInputStream> OPEN = new ArrayList<>();

    private GuidCalls() {}

    public static void main(String[] words) {
        int[] array = words[1].equals("null") ? null
            : Arrays.stream(words[1].split(",")).filter(word -> !word.isEmpty()).mapToInt(Integer::parseInt).toArray();
        if (words.length > 2) {
            HostGuid.readGuid(null); // the class and its library are loaded before
            exhaustDescriptors();
        }
        long result = switch (words[0]) {
            case "generateGuid" -> HostGuid.generateGuid(array);
            case "writeGuid" -> HostGuid.writeGuid(array);
            case "readGuid" -> HostGuid.readGuid(array);
            case "getOSProcessId" -> Platform.getOSProcessId() - ProcessHandle.current().pid();
            default -> getAddress(array);
        };
        System.out.println(result + " " + Arrays.toString(array));
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
