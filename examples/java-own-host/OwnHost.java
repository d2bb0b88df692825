import java.net.URI;
import java.net.http.HttpClient;
import java.net.http.HttpRequest;
import java.net.http.HttpResponse;
import java.net.http.HttpResponse.BodyHandlers;
import java.time.Duration;
import java.util.List;
import java.util.concurrent.CompletionStage;
import vellora.Answer;
import vellora.Catalog;
import vellora.CatalogOptions;
import vellora.Network;
import vellora.NetworkException;
import vellora.ObjectPresentationInfo;
import vellora.Request;

/**
 * A host of one's own in Java: a network over java.net.http.
 *
 * <p>java -cp vellora.jar OwnHost.java SERVER RECORD-ID
 */
public final class OwnHost {
  // [network]
  /** Sends requests with the app's own client, which would authenticate as well. */
  static final class HttpNetwork implements Network {
    private final HttpClient client = HttpClient.newHttpClient();
    private final String server;

    HttpNetwork(String server) {
      this.server = server;
    }

    @Override
    public CompletionStage<byte[]> send(Request request) {
      HttpRequest get = HttpRequest.newBuilder(URI.create(server + request.getUrl())).timeout(request.getTimeout()).build();
      return client.sendAsync(get, BodyHandlers.ofByteArray()).thenApply(HttpNetwork::bodyOf);
    }

    private static byte[] bodyOf(HttpResponse<byte[]> response) {
      int status = response.statusCode();
      if (status == 503) throw new NetworkException("The server is busy.", Duration.ofSeconds(1));
      if (status != 200) throw new NetworkException("The server answers " + status + ".");
      return response.body();
    }
  }
  // [network]

  public static void main(String[] arguments) {
    if (arguments.length != 2) throw new IllegalArgumentException("usage: OwnHost SERVER RECORD-ID");
    CatalogOptions options = new CatalogOptions().network(new HttpNetwork(arguments[0])).attempts(1).loadLate();
    try (Catalog catalog = new Catalog(options)) {
      catalog.records(List.of(arguments[1])).thenAccept(OwnHost::print).join();
    }
  }

  private static void print(Answer<ObjectPresentationInfo> answer) {
    answer.getFound().forEach(
        (id, info) -> System.out.println(info.getTypePresentationInfo().getLabel().orElse(id)));
    answer.getMissing().forEach((id, missing) -> System.out.println(id + ": " + missing.getText()));
  }

  private OwnHost() {}
}
