// A small state for the tests of its reader and its commands: one of each kind of value.
#ifndef TESTS_KIVCTL_CARD_SAMPLE_STATE_H
#define TESTS_KIVCTL_CARD_SAMPLE_STATE_H

namespace kivctl::test {

inline constexpr char kSampleState[] = R"({"format":1,"kind":"card state",
"run":{"worker":1,"after":"span/session"},
"card":{"type":"0x1e1002","veltora_family":false,"ports":64,"np_local_ports":[48],"mirroring":true},
"accounts":{
"mirror_session":{"used":4,"limit":4},
"adjacency":{"used":1,"limit":1048576},
"tunnel":{"used":0,"limit":65536}
},
"families":{
"interfaces":{"key":["handle"],"entries":[
{"handle":"0x8000088","kind":"main","uidb":10,"np_port":1,"ipv4_enable":true,"ip_mtu":1000,"np_port_feature":1},
{"handle":"0x800f210","kind":"sub","uidb":20,"parent":{"to":"interface 0x8000088"},"np_port":1,"l2":true,"vlan_tags":1,"outer_tpid":"0x8100","outer_vlan":310,"rewrite_op":"push1","bundle":{"to":"bundle 9","dangling":true}}]},
"load_distributions":{"key":["ldi_ptr"],"entries":[
{"ldi_ptr":"0x4000","mode":"plain","form":"words","paths":[{"next_hop":{"to":"next_hop 100005","dangling":true}},{"next_hop":{"to":"next_hop 7","ends":"on interface 0x8000088"},"labels":[5,6]}]}]},
"ipv4_leaves":{"key":["vrf","prefix"],"entries":[
{"vrf":0,"prefix":"1.1.1.2/32","flags0":"direct"},
{"vrf":0,"prefix":"10.0.0.1/32","flags0":"ldi","tag":3,"ldi_ptr":{"to":"ldi 0x4000","ends":"next_hop 100005, no adjacency","ends_dangling":true}}]},
"tcam_entries":{"key":["vmr_id","ace_index"],"entries":[
{"vmr_id":"0x1","ace_index":0,"match":{"src_ipv4":"1.1.1.1","ttl":"9"},"result":{"stats_id":"17"}},
{"vmr_id":"0x1","ace_index":1,"match":{},"result":{}}]},
"novelties":{"key":["id"],"entries":[
{"id":5,"shape":"round","none":null}]},
"pseudowires":{"key":["xid"],"entries":[]}
}}
)";

}  // namespace kivctl::test

#endif
