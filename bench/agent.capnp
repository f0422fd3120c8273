@0xb3a1f7c2d95e4a61;

struct Detail {
  resourceCount @0 :Int32;
  deviceId @1 :Text;
  deviceName @2 :Text;
  prefix @3 :Text;
  cloudDeviceState @4 :Text;
  nick @5 :Text;
  color @6 :Text;
  locale @7 :Text;
  firmwareVersion @8 :Text;
  manufactureName @9 :Text;
  vid @10 :Text;
  reserved @11 :Text;
  deviceType @12 :List(Text);
  observableResourceUris @13 :List(Text);
  resourceUris @14 :List(Text);
}

interface Listener {
  notified @0 (kind :Text, title :Text, body :Text);
}

interface Agent {
  small @0 () -> (answer :Text);
  large @1 (device :Text, component :Text, capability :Text) -> (answer :Text);
  details @2 () -> (details :List(Detail));
  flood @3 (count :Int32, listener :Listener) -> ();
}
